#include "platform/x11/X11FloatingWindows.h"

#include <algorithm>
#include <cstring>

namespace quillmere {
namespace {

constexpr uint32_t longest = 64;  // atoms, and the nine numbers of WM_HINTS
constexpr size_t hintsLength = 9;
constexpr uint32_t inputHint = 1;

}  // namespace

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

void X11FloatingWindows::announce(xcb_window_t window, xcb_connection_t* owner) {
  // What the owner has asked for comes first.
  if (owner)
    XcbPointer<xcb_get_input_focus_reply_t>(xcb_get_input_focus_reply(owner, xcb_get_input_focus(owner), nullptr));
  const auto atom = [this](const char* name) { return uint32_t(connection_->atom(name)); };
  constexpr uint32_t everyDesktop = 0xFFFFFFFF;
  write(window, "_NET_WM_DESKTOP", XCB_ATOM_CARDINAL, {everyDesktop});
  std::vector<uint32_t> states = read(window, "_NET_WM_STATE", XCB_ATOM_ATOM);
  for (const char* name : {"_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER", "_NET_WM_STATE_ABOVE"})
    if (std::find(states.begin(), states.end(), atom(name)) == states.end()) states.push_back(atom(name));
  write(window, "_NET_WM_STATE", XCB_ATOM_ATOM, states);
  // Both ways of giving it the keyboard: the window manager's own, and asking the window to take it.
  std::vector<uint32_t> hints = read(window, "WM_HINTS", XCB_ATOM_WM_HINTS);
  hints.resize(hintsLength);
  hints[0] |= inputHint;
  hints[1] = 0;
  write(window, "WM_HINTS", XCB_ATOM_WM_HINTS, hints);
  std::vector<uint32_t> protocols = read(window, "WM_PROTOCOLS", XCB_ATOM_ATOM);
  std::erase(protocols, atom("WM_TAKE_FOCUS"));
  write(window, "WM_PROTOCOLS", XCB_ATOM_ATOM, protocols);
  connection_->synchronize();
}

QRect X11FloatingWindows::activeWindow() {
  const auto active = read(connection_->root(), "_NET_ACTIVE_WINDOW", XCB_ATOM_WINDOW);
  if (active.empty() || active.front() == XCB_NONE) return {};
  xcb_connection_t* const raw = connection_->raw();
  const xcb_window_t window = active.front();
  const auto sizeRequest = xcb_get_geometry(raw, window);
  const auto placeRequest = xcb_translate_coordinates(raw, window, connection_->root(), 0, 0);
  const XcbPointer<xcb_get_geometry_reply_t> size(xcb_get_geometry_reply(raw, sizeRequest, nullptr));
  const XcbPointer<xcb_translate_coordinates_reply_t> place(
      xcb_translate_coordinates_reply(raw, placeRequest, nullptr));
  if (!size || !place) return {};
  QRect frame(place->dst_x, place->dst_y, size->width, size->height);
  // Left, right, top, bottom: what a window manager puts around it, and the shadow that some windows draw themselves.
  const auto outside = read(window, "_NET_FRAME_EXTENTS", XCB_ATOM_CARDINAL);
  if (outside.size() == 4) frame.adjust(-int(outside[0]), -int(outside[2]), int(outside[1]), int(outside[3]));
  const auto shadow = read(window, "_GTK_FRAME_EXTENTS", XCB_ATOM_CARDINAL);
  if (shadow.size() == 4) frame.adjust(int(shadow[0]), int(shadow[2]), -int(shadow[1]), -int(shadow[3]));
  return frame;
}

std::vector<uint32_t> X11FloatingWindows::read(xcb_window_t window, const char* property, xcb_atom_t type) {
  xcb_connection_t* const raw = connection_->raw();
  const auto request = xcb_get_property(raw, 0, window, connection_->atom(property), type, 0, longest);
  const XcbPointer<xcb_get_property_reply_t> reply(xcb_get_property_reply(raw, request, nullptr));
  if (!reply || reply->format != 32) return {};
  std::vector<uint32_t> values(size_t(xcb_get_property_value_length(reply.get())) / sizeof(uint32_t));
  if (!values.empty())
    std::memcpy(values.data(), xcb_get_property_value(reply.get()), values.size() * sizeof(uint32_t));
  return values;
}

void X11FloatingWindows::write(xcb_window_t window, const char* property, xcb_atom_t type,
                               const std::vector<uint32_t>& values) {
  xcb_change_property(connection_->raw(), XCB_PROP_MODE_REPLACE, window, connection_->atom(property), type, 32,
                      uint32_t(values.size()), values.data());
}

}  // namespace quillmere
