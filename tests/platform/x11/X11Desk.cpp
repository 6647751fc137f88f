#include "platform/x11/X11Desk.h"

#include "platform/x11/XkbHeader.h"

namespace quillmere {

void pause(std::chrono::milliseconds duration) {
  bool isOver = false;
  QTimer::singleShot(duration, [&] { isOver = true; });
  waitUntil([&] { return isOver; });
}

OtherProgram::OtherProgram(const QString& displayName) : connection_(*XcbConnection::open(displayName)) {
  events_ = connection_->observeEvents([this](const xcb_generic_event_t& event) {
    if ((event.response_type & 0x7f) != XCB_KEY_PRESS) return;
    const auto& press = reinterpret_cast<const xcb_key_press_event_t&>(event);
    keys_.push_back({press.detail, press.state & 0xffu & ~unsigned(XCB_MOD_MASK_2)});
  });
}

void OtherProgram::showFocusedWindow() {
  xcb_connection_t* const raw = connection_->raw();
  const xcb_window_t window = xcb_generate_id(raw);
  const uint32_t events = XCB_EVENT_MASK_KEY_PRESS;
  xcb_create_window(raw, XCB_COPY_FROM_PARENT, window, connection_->root(), 0, 0, 100, 100, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, connection_->screen().root_visual, XCB_CW_EVENT_MASK, &events);
  xcb_map_window(raw, window);
  xcb_set_input_focus(raw, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
  connection_->synchronize();
}

std::vector<int> OtherProgram::takeKeys() {
  std::vector<int> codes;
  for (const Press& press : takePresses()) codes.push_back(press.code);
  return codes;
}

std::vector<OtherProgram::Press> OtherProgram::takePresses() {
  connection_->synchronize();
  connection_->dispatchNow();
  return std::exchange(keys_, {});
}

bool OtherProgram::grabKey(uint16_t modifiers, uint8_t code) {
  return !connection_->errorOf(xcb_grab_key_checked(connection_->raw(), 0, connection_->root(), modifiers, code,
                                                    XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
}

void OtherProgram::ungrabKey(uint16_t modifiers, uint8_t code) {
  xcb_ungrab_key(connection_->raw(), code, connection_->root(), modifiers);
  connection_->synchronize();
}

bool OtherProgram::isTaken(uint16_t modifiers, uint8_t code) {
  if (!grabKey(modifiers, code)) return true;
  ungrabKey(modifiers, code);
  return false;
}

bool OtherProgram::grabKeyboard() {
  const auto cookie = xcb_grab_keyboard(connection_->raw(), 0, connection_->root(), XCB_CURRENT_TIME,
                                        XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
  const XcbPointer<xcb_grab_keyboard_reply_t> reply(xcb_grab_keyboard_reply(connection_->raw(), cookie, nullptr));
  return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

void OtherProgram::ungrabKeyboard() {
  xcb_ungrab_keyboard(connection_->raw(), XCB_CURRENT_TIME);
  connection_->synchronize();
}

bool OtherProgram::isKeyboardFree() {
  if (!grabKeyboard()) return false;
  ungrabKeyboard();
  return true;
}

void OtherProgram::lockLayout(uint8_t number) {
  xcb_connection_t* const raw = connection_->raw();
  const XcbPointer<xcb_xkb_use_extension_reply_t> reply(
      xcb_xkb_use_extension_reply(raw, xcb_xkb_use_extension(raw, 1, 0), nullptr));
  xcb_xkb_latch_lock_state(raw, XCB_XKB_ID_USE_CORE_KBD, 0, 0, 1, number, 0, 0, 0);
  connection_->synchronize();
}

void OtherProgram::mapKey(uint8_t code, uint32_t symbol) {
  xcb_change_keyboard_mapping(connection_->raw(), 1, code, 1, &symbol);
  connection_->synchronize();
}

bool X11Desk::setLayout(const QStringList& arguments) {
  QProcess process;
  process.start("setxkbmap", QStringList{"-display", server.displayName()} + arguments);
  return process.waitForFinished(60000) && process.exitCode() == 0;
}

}  // namespace quillmere
