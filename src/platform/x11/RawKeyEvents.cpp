#include "platform/x11/RawKeyEvents.h"

#include <xcb/xinput.h>

namespace quillmere {

std::optional<RawKeyEvents> RawKeyEvents::on(XcbConnection& connection) {
  const auto input = connection.extension(xcb_input_id);
  if (!input) return std::nullopt;
  xcb_connection_t* const raw = connection.raw();
  const XcbPointer<xcb_input_xi_query_version_reply_t> version(
      xcb_input_xi_query_version_reply(raw, xcb_input_xi_query_version(raw, 2, 2), nullptr));
  if (!version || version->major_version < 2) return std::nullopt;
  return RawKeyEvents(connection, input->majorOpcode);
}

bool RawKeyEvents::select(Selection wanted) {
  struct {
    xcb_input_event_mask_t head;
    uint32_t mask;
  } selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, 0};
  if (wanted != Selection::none)
    selection.mask = XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE;
  if (wanted == Selection::keysAndButtons) selection.mask |= XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS;
  const auto cookie = xcb_input_xi_select_events_checked(connection_->raw(), connection_->root(), 1, &selection.head);
  return !connection_->errorOf(cookie) && connection_->isOpen();
}

bool RawKeyEvents::isOurs(const xcb_generic_event_t& event) const {
  return (event.response_type & 0x7f) == XCB_GE_GENERIC &&
         reinterpret_cast<const xcb_ge_generic_event_t&>(event).extension == opcode_;
}

bool RawKeyEvents::isButtonPress(const xcb_generic_event_t& event) const {
  return isOurs(event) &&
         reinterpret_cast<const xcb_ge_generic_event_t&>(event).event_type == XCB_INPUT_RAW_BUTTON_PRESS;
}

std::optional<RawKeyEvents::Key> RawKeyEvents::key(const xcb_generic_event_t& event) const {
  if (!isOurs(event)) return std::nullopt;
  const uint16_t type = reinterpret_cast<const xcb_ge_generic_event_t&>(event).event_type;
  const bool isPress = type == XCB_INPUT_RAW_KEY_PRESS;
  if (!isPress && type != XCB_INPUT_RAW_KEY_RELEASE) return std::nullopt;
  const uint32_t detail = reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event).detail;
  if (detail > 255) return std::nullopt;
  return Key{xcb_keycode_t(detail), isPress};
}

}  // namespace quillmere
