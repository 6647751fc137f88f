#pragma once
#include "platform/x11/XcbConnection.h"

namespace quillmere {

// Takes a key with whatever modifiers are down; a combination that another program has stays with that program. False
// when not even the plain key can be had, whatever `numLock` (the bit of Num Lock) and Caps Lock say. Given back by
// xcb_ungrab_key() with XCB_MOD_MASK_ANY, or with the end of the connection.
bool grabWithAnyModifiers(XcbConnection& connection, xcb_keycode_t code, uint16_t numLock);

}  // namespace quillmere
