#include "platform/x11/DisplayProbe.h"

#include <xcb/xcb.h>

namespace quillmere {

bool isDisplayReachable() {
  xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
  const bool isReachable = xcb_connection_has_error(connection) == 0;
  xcb_disconnect(connection);
  return isReachable;
}

}  // namespace quillmere
