#include "platform/x11/X11FloatingWindows.h"

namespace quillmere {

Result<std::unique_ptr<X11FloatingWindows>, PlatformError> X11FloatingWindows::open(const QString& displayName) {
  TRY(auto connection, XcbConnection::open(displayName));
  return std::unique_ptr<X11FloatingWindows>(new X11FloatingWindows(std::move(connection)));
}

bool X11FloatingWindows::isComposited() {
  xcb_connection_t* const raw = connection_->raw();
  const auto request = xcb_get_selection_owner(raw, connection_->atom("_NET_WM_CM_S0"));
  const XcbPointer<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(raw, request, nullptr));
  return reply && reply->owner != XCB_NONE;
}

void X11FloatingWindows::keepOnAllDesktops(xcb_window_t window) {
  constexpr uint32_t everyDesktop = 0xFFFFFFFF;
  (void)connection_->errorOf(xcb_change_property_checked(connection_->raw(), XCB_PROP_MODE_REPLACE, window,
                                                         connection_->atom("_NET_WM_DESKTOP"), XCB_ATOM_CARDINAL, 32, 1,
                                                         &everyDesktop));
}

}  // namespace quillmere
