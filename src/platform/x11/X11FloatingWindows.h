#pragma once
#include <memory>

#include "platform/x11/XcbConnection.h"

namespace quillmere {

// What small windows above all others ask of an X server and say to its window manager (EWMH). Main thread.
class X11FloatingWindows {
 public:
  // An empty name means DISPLAY.
  static Result<std::unique_ptr<X11FloatingWindows>, PlatformError> open(const QString& displayName = {});

  // Whether somebody mixes translucent windows. One round trip.
  bool isComposited();
  // For a window that isn't shown yet, each time before it is: it is on every desktop then. One round trip.
  void keepOnAllDesktops(xcb_window_t window);

 private:
  explicit X11FloatingWindows(std::unique_ptr<XcbConnection> connection) : connection_(std::move(connection)) {}

  std::unique_ptr<XcbConnection> connection_;
};

}  // namespace quillmere
