#pragma once
#include <array>

#include "domain/RawValue.h"

namespace quillmere {

// Keys that push-to-talk can watch alone.
enum class ModifierKey { fn, control, leftOption, rightOption };
template <>
struct RawValues<ModifierKey> {
  using E = ModifierKey;
  static constexpr std::array values{std::pair{E::fn, "fn"}, std::pair{E::control, "control"},
                                     std::pair{E::leftOption, "leftOption"}, std::pair{E::rightOption, "rightOption"}};
};

// State bits of the modifiers in a ModifierEvent.
namespace modifierFlags {
inline constexpr unsigned leftOption = 0x20;
inline constexpr unsigned rightOption = 0x40;
inline constexpr unsigned shift = 0x20000;
inline constexpr unsigned control = 0x40000;
inline constexpr unsigned option = 0x80000;    // either side
inline constexpr unsigned command = 0x100000;  // Super on a PC keyboard
inline constexpr unsigned function = 0x800000;
}  // namespace modifierFlags

}  // namespace quillmere
