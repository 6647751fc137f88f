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
  bool waitForTrace(const char* expected) {
    return waitUntil([&] { return trace.size() >= qsizetype(qstrlen(expected)); }) && trace == QLatin1String(expected);
  }

  QtExecutor executor;
  std::unique_ptr<X11KeyEventMonitor> keyboard;
  std::unique_ptr<BareModifierKeyMonitor> monitor;
  QString trace;
};

TEST_F(PushToTalkOnX11, TwoTapsLockAndTwoMoreUnlockWhateverIsTypedMeanwhile) {
  keys->tap({XKB_KEY_Control_L});
  keys->tap({XKB_KEY_Control_L});
  ASSERT_TRUE(waitForTrace("d"));
  EXPECT_EQ(monitor->state(), MonitorState::latchActive);
  keys->tap({XKB_KEY_a});
  keys->tap({XKB_KEY_Shift_L, XKB_KEY_b});
  pause(1200ms);
  // The program's own strokes.
  monitor->setSuspended(true);
  keys->tap({XKB_KEY_Control_L, XKB_KEY_v});
  keys->tap({XKB_KEY_Control_L, XKB_KEY_v});
  monitor->setSuspended(false);
  pause(50ms);
  EXPECT_EQ(monitor->state(), MonitorState::latchActive);
  EXPECT_EQ(trace, "d");
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

}  // namespace
}  // namespace quillmere
