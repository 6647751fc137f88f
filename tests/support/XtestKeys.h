#pragma once
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <QString>
#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <stdexcept>

namespace quillmere {

// Presses keys of an X server as a keyboard would, and the buttons of its mouse. Keys are told by the X symbol that
// they give on the first layout; when a call returns the server has worked it off.
class XtestKeys {
 public:
  explicit XtestKeys(const QString& displayName) : connection_(xcb_connect(displayName.toUtf8().constData(), nullptr)) {
    if (xcb_connection_has_error(connection_)) throw std::runtime_error("no connection to the X server");
  }
  XtestKeys(const XtestKeys&) = delete;
  XtestKeys& operator=(const XtestKeys&) = delete;
  ~XtestKeys() { xcb_disconnect(connection_); }

  void press(uint32_t symbol) { pressCode(codeOf(symbol)); }
  void release(uint32_t symbol) { releaseCode(codeOf(symbol)); }
  // Presses the keys in this order and lets them go in the opposite one.
  void tap(std::initializer_list<uint32_t> symbols) {
    for (const uint32_t symbol : symbols) press(symbol);
    for (auto symbol = std::rbegin(symbols); symbol != std::rend(symbols); ++symbol) release(*symbol);
  }
  // Buttons 4 and 5 are the wheel.
  void click(uint8_t button) {
    send(XCB_BUTTON_PRESS, button);
    send(XCB_BUTTON_RELEASE, button);
  }
  void pressCode(uint8_t code) { send(XCB_KEY_PRESS, code); }
  void releaseCode(uint8_t code) { send(XCB_KEY_RELEASE, code); }

  uint8_t codeOf(uint32_t symbol) const {
    const xcb_setup_t* setup = xcb_get_setup(connection_);
    const auto cookie =
        xcb_get_keyboard_mapping(connection_, setup->min_keycode, uint8_t(setup->max_keycode - setup->min_keycode + 1));
    const std::unique_ptr<xcb_get_keyboard_mapping_reply_t, decltype(&std::free)> reply(
        xcb_get_keyboard_mapping_reply(connection_, cookie, nullptr), &std::free);
    if (!reply) throw std::runtime_error("the X server does not answer");
    const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(reply.get());
    const int count = xcb_get_keyboard_mapping_keysyms_length(reply.get());
    for (int column = 0; column < reply->keysyms_per_keycode; ++column)
      for (int at = column; at < count; at += reply->keysyms_per_keycode)
        if (symbols[at] == symbol) return uint8_t(setup->min_keycode + at / reply->keysyms_per_keycode);
    throw std::runtime_error("no key gives this symbol");
  }

 private:
  void send(uint8_t type, uint8_t code) {
    xcb_test_fake_input(connection_, type, code, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
  }

  xcb_connection_t* const connection_;
};

}  // namespace quillmere
