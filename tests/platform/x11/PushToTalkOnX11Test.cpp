#include "X11Desk.h"
#include "platform/qt/QtExecutor.h"
#include "platform/x11/X11KeyEventMonitor.h"
#include "triggers/BareModifierKeyMonitor.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

// The whole road from a real key to the signals, in real time. Keys that are pressed and let go without serving the
// event loop in between are a quick tap however slow the machine is.
class PushToTalkOnX11 : public X11Desk {
 protected:
  void SetUp() override {
    X11Desk::SetUp();
    if (!server) return;
    keyboard = std::make_unique<X11KeyEventMonitor>(server->displayName());
    monitor = std::make_unique<BareModifierKeyMonitor>(*keyboard, executor, nullptr, Logging());
    monitor->setOnModifierDown([this] { trace += u'd'; });
    monitor->setOnModifierUp([this] { trace += u'u'; });
    monitor->setOnInterferenceDetected([this] { trace += u'i'; });
    monitor->start(ModifierKey::control);
    ASSERT_TRUE(monitor->isMonitoring());
  }
  void pause(Duration duration) {
    bool isOver = false;
    executor.startTimer(duration, [&] { isOver = true; });
    waitUntil([&] { return isOver; });
  }
  bool waitForTrace(const char* expected) {
    return waitUntil([&] { return trace.size() >= qsizetype(qstrlen(expected)); }) && trace == QLatin1String(expected);
  }

  QtExecutor executor;
  std::unique_ptr<X11KeyEventMonitor> keyboard;
  std::unique_ptr<BareModifierKeyMonitor> monitor;
  QString trace;
};

TEST_F(PushToTalkOnX11, AHoldRecordsUntilTheRelease) {
  ASSERT_TRUE(other->grabKeyboard());  // also while a menu is open
  keys->press(XKB_KEY_Control_L);
  ASSERT_TRUE(waitForTrace("d"));
  pause(1600ms);
  EXPECT_EQ(trace, QStringLiteral("d"));
  keys->release(XKB_KEY_Control_L);
  EXPECT_TRUE(waitForTrace("du"));
  EXPECT_EQ(monitor->state(), MonitorState::idle);
}

TEST_F(PushToTalkOnX11, AQuickTapStartsAndEndsByItself) {
  keys->tap({XKB_KEY_Control_L});
  EXPECT_TRUE(waitForTrace("du"));
  EXPECT_EQ(monitor->state(), MonitorState::idle);
}

TEST_F(PushToTalkOnX11, TwoTapsLockAndTwoMoreUnlock) {
  keys->tap({XKB_KEY_Control_L});
  keys->tap({XKB_KEY_Control_L});
  ASSERT_TRUE(waitForTrace("d"));
  EXPECT_EQ(monitor->state(), MonitorState::latchActive);
  keys->tap({XKB_KEY_a});
  keys->tap({XKB_KEY_Shift_L, XKB_KEY_b});
  pause(1200ms);
  EXPECT_EQ(monitor->state(), MonitorState::latchActive);
  keys->tap({XKB_KEY_Control_L});
  keys->tap({XKB_KEY_Control_L});
  EXPECT_TRUE(waitForTrace("du"));
  EXPECT_EQ(monitor->state(), MonitorState::idle);
}

TEST_F(PushToTalkOnX11, AChordIsNoPushToTalk) {
  keys->tap({XKB_KEY_Control_L, XKB_KEY_c});
  EXPECT_TRUE(waitForTrace("i"));
  keys->press(XKB_KEY_Control_L);
  ASSERT_TRUE(waitForTrace("id"));
  keys->tap({XKB_KEY_c});
  EXPECT_TRUE(waitForTrace("idi"));
  keys->release(XKB_KEY_Control_L);
  keyboard->catchUp();
  EXPECT_EQ(monitor->state(), MonitorState::idle);
}

TEST_F(PushToTalkOnX11, OwnKeystrokesAreNotTheUsers) {
  keys->tap({XKB_KEY_Control_L});
  keys->tap({XKB_KEY_Control_L});
  ASSERT_TRUE(waitForTrace("d"));
  pause(1100ms);
  monitor->setSuspended(true);
  keys->tap({XKB_KEY_Control_L, XKB_KEY_v});
  keys->tap({XKB_KEY_Control_L, XKB_KEY_v});
  monitor->setSuspended(false);
  pause(50ms);
  EXPECT_EQ(monitor->state(), MonitorState::latchActive);
  EXPECT_EQ(trace, QStringLiteral("d"));
}

}  // namespace
}  // namespace quillmere
