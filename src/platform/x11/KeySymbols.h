#pragma once
#include <xkbcommon/xkbcommon.h>

#include <optional>

namespace quillmere {

// Keys that do nothing but change what other keys do: Control, Caps Lock, AltGr, switches of layouts.
inline bool isModifierSymbol(xkb_keysym_t symbol) {
  return (symbol >= XKB_KEY_Shift_L && symbol <= XKB_KEY_Hyper_R) ||
         (symbol >= XKB_KEY_ISO_Lock && symbol <= XKB_KEY_ISO_Last_Group_Lock) || symbol == XKB_KEY_ISO_Level5_Shift ||
         symbol == XKB_KEY_ISO_Level5_Latch || symbol == XKB_KEY_ISO_Level5_Lock || symbol == XKB_KEY_Mode_switch ||
         symbol == XKB_KEY_Num_Lock || symbol == XKB_KEY_XF86Fn;
}

// A letter of another script than Latin: it stands in nobody's shortcuts.
inline bool isForeignLetter(xkb_keysym_t symbol) {
  constexpr uint32_t lastLatin = 0x24f;
  return xkb_keysym_to_utf32(symbol) > lastLatin;
}

}  // namespace quillmere
