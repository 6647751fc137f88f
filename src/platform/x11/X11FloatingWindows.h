#pragma once
#include <QRect>
#include <memory>
#include <vector>

#include "platform/x11/XcbConnection.h"

namespace quillmere {

// What small windows above all others ask of an X server and say to its window manager (EWMH). Main thread.
class X11FloatingWindows {
 public:
  // An empty name means DISPLAY.
  static Result<std::unique_ptr<X11FloatingWindows>, PlatformError> open(const QString& displayName = {});

  // The window that has the keyboard, with its frame, in the display's pixels; empty when none has. A few round trips.
  QRect activeWindow();
  // Whether somebody mixes translucent windows. One round trip.
  bool isComposited();
  // For a window that isn't shown yet, each time before it is: it is on every desktop then, above the others, in no
  // list of windows, and no window manager gives it the keyboard. `owner` is the connection that made it; may be null.
  // A few round trips.
  void announce(xcb_window_t window, xcb_connection_t* owner);

 private:
  explicit X11FloatingWindows(std::unique_ptr<XcbConnection> connection) : connection_(std::move(connection)) {}
  std::vector<uint32_t> read(xcb_window_t window, const char* property, xcb_atom_t type);
  void write(xcb_window_t window, const char* property, xcb_atom_t type, const std::vector<uint32_t>& values);

  std::unique_ptr<XcbConnection> connection_;
};

}  // namespace quillmere
