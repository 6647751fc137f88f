#pragma once
#include "platform/x11/XcbConnection.h"
#include "platform/x11/XkbHeader.h"

namespace quillmere {

// From now on a key that is held gives repeated presses and one release on this connection, instead of pairs of both.
// Needs an XkbKeyboard on the connection.
inline bool makeAutoRepeatDetectable(XcbConnection& connection) {
  constexpr uint32_t flag = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
  const auto cookie = xcb_xkb_per_client_flags(connection.raw(), XCB_XKB_ID_USE_CORE_KBD, flag, flag, 0, 0, 0);
  const XcbPointer<xcb_xkb_per_client_flags_reply_t> reply(
      xcb_xkb_per_client_flags_reply(connection.raw(), cookie, nullptr));
  return reply && (reply->value & flag) != 0;
}

}  // namespace quillmere
