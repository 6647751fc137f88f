#pragma once
#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include "platform/x11/XcbConnection.h"
#include "platform/x11/XkbHeader.h"
#include "support/XtestKeys.h"
#include "support/XvfbServer.h"

namespace quillmere {

// Serves Qt's events until the condition holds; false when it doesn't within two minutes.
inline bool waitUntil(const std::function<bool()>& condition) {
  QEventLoop loop;
  bool isHanging = false;
  QTimer::singleShot(std::chrono::minutes(2), &loop, [&] { isHanging = true; });
  QTimer look;  // conditions outside of this process announce nothing
  look.start(std::chrono::milliseconds(10));
  while (!condition() && !isHanging) loop.processEvents(QEventLoop::WaitForMoreEvents);
  return condition();
}

inline void pause(std::chrono::milliseconds duration) {
  bool isOver = false;
  QTimer::singleShot(duration, [&] { isOver = true; });
  waitUntil([&] { return isOver; });
}

// Another program of the desktop, with the keyboard's focus if it shows its window.
class OtherProgram {
 public:
  struct Press {
    int code = 0;
    unsigned modifiers = 0;  // without Num Lock
    bool operator==(const Press&) const = default;
  };

  explicit OtherProgram(const QString& displayName) : connection_(*XcbConnection::open(displayName)) {
    events_ = connection_->observeEvents([this](const xcb_generic_event_t& event) {
      if ((event.response_type & 0x7f) != XCB_KEY_PRESS) return;
      const auto& press = reinterpret_cast<const xcb_key_press_event_t&>(event);
      keys_.push_back({press.detail, press.state & 0xffu & ~unsigned(XCB_MOD_MASK_2)});
    });
  }

  void showFocusedWindow() {
    xcb_connection_t* const raw = connection_->raw();
    const xcb_window_t window = xcb_generate_id(raw);
    const uint32_t events = XCB_EVENT_MASK_KEY_PRESS;
    xcb_create_window(raw, XCB_COPY_FROM_PARENT, window, connection_->root(), 0, 0, 100, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, connection_->screen().root_visual, XCB_CW_EVENT_MASK, &events);
    xcb_map_window(raw, window);
    xcb_set_input_focus(raw, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
    connection_->synchronize();
  }
  // The keys that came since the last call.
  std::vector<int> takeKeys() {
    std::vector<int> codes;
    for (const Press& press : takePresses()) codes.push_back(press.code);
    return codes;
  }
  std::vector<Press> takePresses() {
    connection_->synchronize();
    connection_->dispatchNow();
    return std::exchange(keys_, {});
  }

  bool grabKey(uint16_t modifiers, uint8_t code) {
    const auto cookie = xcb_grab_key_checked(connection_->raw(), 0, connection_->root(), modifiers, code,
                                             XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    return !connection_->errorOf(cookie);
  }
  void ungrabKey(uint16_t modifiers, uint8_t code) {
    xcb_ungrab_key(connection_->raw(), code, connection_->root(), modifiers);
    connection_->synchronize();
  }
  // Whether somebody else has the key.
  bool isTaken(uint16_t modifiers, uint8_t code) {
    if (!grabKey(modifiers, code)) return true;
    ungrabKey(modifiers, code);
    return false;
  }
  bool grabKeyboard() {
    const auto cookie = xcb_grab_keyboard(connection_->raw(), 0, connection_->root(), XCB_CURRENT_TIME,
                                          XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    const XcbPointer<xcb_grab_keyboard_reply_t> reply(xcb_grab_keyboard_reply(connection_->raw(), cookie, nullptr));
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
  }
  void ungrabKeyboard() {
    xcb_ungrab_keyboard(connection_->raw(), XCB_CURRENT_TIME);
    connection_->synchronize();
  }
  // As a user does who switches between the layouts of the list.
  void lockLayout(uint8_t number) {
    xcb_connection_t* const raw = connection_->raw();
    const XcbPointer<xcb_xkb_use_extension_reply_t> reply(
        xcb_xkb_use_extension_reply(raw, xcb_xkb_use_extension(raw, 1, 0), nullptr));
    xcb_xkb_latch_lock_state(raw, XCB_XKB_ID_USE_CORE_KBD, 0, 0, 1, number, 0, 0, 0);
    connection_->synchronize();
  }
  // Gives a key another meaning.
  void mapKey(uint8_t code, uint32_t symbol) {
    xcb_change_keyboard_mapping(connection_->raw(), 1, code, 1, &symbol);
    connection_->synchronize();
  }

 private:
  std::unique_ptr<XcbConnection> connection_;
  std::vector<Press> keys_;
  Subscription events_;
};

// A desktop of one's own for each test: an X server, a keyboard to press, another program.
class X11Desk : public testing::Test {
 protected:
  void SetUp() override {
    QString reason;
    server = XvfbServer::start(reason);
    if (!server) {
      if (QStandardPaths::findExecutable("Xvfb").isEmpty()) GTEST_SKIP() << qPrintable(reason);
      FAIL() << qPrintable(reason);
    }
    keys = std::make_unique<XtestKeys>(server->displayName());
    other = std::make_unique<OtherProgram>(server->displayName());
  }
  bool setLayout(const QStringList& arguments) {
    QProcess process;
    process.start("setxkbmap", QStringList{"-display", server->displayName()} + arguments);
    return process.waitForFinished(60000) && process.exitCode() == 0;
  }

  std::unique_ptr<XvfbServer> server;
  std::unique_ptr<XtestKeys> keys;
  std::unique_ptr<OtherProgram> other;
};

}  // namespace quillmere
