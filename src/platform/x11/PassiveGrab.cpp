#include "platform/x11/PassiveGrab.h"

namespace quillmere {

bool grabWithAnyModifiers(XcbConnection& connection, xcb_keycode_t code, uint16_t numLock) {
  const auto request = [&](uint16_t modifiers) {
    return xcb_grab_key_checked(connection.raw(), 0, connection.root(), modifiers, code, XCB_GRAB_MODE_ASYNC,
                                XCB_GRAB_MODE_ASYNC);
  };
  if (!connection.errorOf(request(XCB_MOD_MASK_ANY))) return connection.isOpen();
  // Somebody has the key with some modifiers: take the rest one by one.
  constexpr unsigned combinations = 1u << 8;
  std::vector<xcb_void_cookie_t> requests;
  for (unsigned modifiers = 0; modifiers < combinations; ++modifiers) requests.push_back(request(uint16_t(modifiers)));
  const unsigned locks = XCB_MOD_MASK_LOCK | numLock;
  bool hasPlainKey = true;
  for (unsigned modifiers = 0; modifiers < combinations; ++modifiers) {
    const bool isTaken = connection.errorOf(requests[modifiers]) != nullptr;
    if (isTaken && (modifiers & ~locks) == 0) hasPlainKey = false;
  }
  return hasPlainKey && connection.isOpen();
}

}  // namespace quillmere
