#pragma once
#include <array>

#include "domain/RawValue.h"

namespace quillmere {

// Keys that push-to-talk can watch alone: modifiers, and those that nobody writes with.
enum class ModifierKey {
  fn,
  control,  // either side
  leftControl,
  rightControl,
  leftAlt,
  rightAlt,  // also as AltGr
  leftShift,
  rightShift,
  leftSuper,
  rightSuper,
  capsLock,
  menu,
  pause,
  scrollLock
};
template <>
struct RawValues<ModifierKey> {
  using E = ModifierKey;
  static constexpr std::array values{
      std::pair{E::fn, "fn"},
      std::pair{E::control, "control"},
      std::pair{E::leftControl, "leftControl"},
      std::pair{E::rightControl, "rightControl"},
      std::pair{E::leftAlt, "leftAlt"},
      std::pair{E::rightAlt, "rightAlt"},
      std::pair{E::leftShift, "leftShift"},
      std::pair{E::rightShift, "rightShift"},
      std::pair{E::leftSuper, "leftSuper"},
      std::pair{E::rightSuper, "rightSuper"},
      std::pair{E::capsLock, "capsLock"},
      std::pair{E::menu, "menu"},
      std::pair{E::pause, "pause"},
      std::pair{E::scrollLock, "scrollLock"},
  };
};

// State bits of these keys in a ModifierEvent. A key with two sides sets the bit of its side and the common one.
namespace modifierFlags {
inline constexpr unsigned leftControl = 0x1;
inline constexpr unsigned leftShift = 0x2;
inline constexpr unsigned rightShift = 0x4;
inline constexpr unsigned leftSuper = 0x8;
inline constexpr unsigned rightSuper = 0x10;
inline constexpr unsigned leftAlt = 0x20;
inline constexpr unsigned rightAlt = 0x40;
inline constexpr unsigned menu = 0x80;
inline constexpr unsigned pause = 0x100;
inline constexpr unsigned scrollLock = 0x200;
inline constexpr unsigned rightControl = 0x2000;
inline constexpr unsigned capsLock = 0x10000;  // the key, not the lock
inline constexpr unsigned shift = 0x20000;
inline constexpr unsigned control = 0x40000;
inline constexpr unsigned alt = 0x80000;
inline constexpr unsigned super = 0x100000;
inline constexpr unsigned function = 0x800000;

// The bit that tells the key's state.
constexpr unsigned of(ModifierKey key) {
  switch (key) {
    case ModifierKey::fn:
      return function;
    case ModifierKey::control:
      return control;
    case ModifierKey::leftControl:
      return leftControl;
    case ModifierKey::rightControl:
      return rightControl;
    case ModifierKey::leftAlt:
      return leftAlt;
    case ModifierKey::rightAlt:
      return rightAlt;
    case ModifierKey::leftShift:
      return leftShift;
    case ModifierKey::rightShift:
      return rightShift;
    case ModifierKey::leftSuper:
      return leftSuper;
    case ModifierKey::rightSuper:
      return rightSuper;
    case ModifierKey::capsLock:
      return capsLock;
    case ModifierKey::menu:
      return menu;
    case ModifierKey::pause:
      return pause;
    case ModifierKey::scrollLock:
      return scrollLock;
  }
  return 0;
}
}  // namespace modifierFlags

// A key without a meaning in a chord: while it is watched, other programs need not see it.
constexpr bool isNoChordKey(ModifierKey key) {
  return key == ModifierKey::capsLock || key == ModifierKey::menu || key == ModifierKey::pause ||
         key == ModifierKey::scrollLock;
}

}  // namespace quillmere
