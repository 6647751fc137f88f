#include "platform/x11/X11KeyEventMonitor.h"

#include "platform/x11/X11Desk.h"

namespace quillmere {

inline void PrintTo(const ModifierEvent& event, std::ostream* out) {
  *out << (event.kind == ModifierEvent::Kind::keyDown ? "key " : "flags ") << std::hex << event.flags;
}

namespace {

using Kind = ModifierEvent::Kind;
using Events = std::vector<ModifierEvent>;
using namespace modifierFlags;

class X11KeyEventMonitorTest : public X11DeskTest {
 protected:
  bool start() {
    return monitor.start([this](const ModifierEvent& event) { events.push_back(event); });
  }
  Events take() {
    monitor.catchUp();
    return std::exchange(events, {});
  }

  X11KeyEventMonitor monitor{server.displayName()};
  Events events;
};

TEST_F(X11KeyEventMonitorTest, KnowsBothKeysOfAModifier) {
  ASSERT_TRUE(start());
  struct Case {
    uint32_t symbol;
    unsigned flags;
  };
  for (const auto& [symbol, flags] : {Case{XKB_KEY_Control_R, control}, Case{XKB_KEY_Shift_L, shift},
                                      Case{XKB_KEY_Super_R, command}, Case{XKB_KEY_Caps_Lock, 0}}) {
    keys.tap({symbol});
    EXPECT_EQ(take(), (Events{{Kind::flagsChanged, flags}, {Kind::flagsChanged, 0}})) << symbol;
  }
  // The one of two keys is still down.
  keys.press(XKB_KEY_Control_L);
  keys.press(XKB_KEY_Control_R);
  keys.release(XKB_KEY_Control_L);
  keys.release(XKB_KEY_Control_R);
  EXPECT_EQ(take(), (Events{{Kind::flagsChanged, control},
                            {Kind::flagsChanged, control},
                            {Kind::flagsChanged, control},
                            {Kind::flagsChanged, 0}}));
}

TEST_F(X11KeyEventMonitorTest, SeesKeysWhileAnotherProgramHasTheKeyboard) {
  ASSERT_TRUE(start());
  ASSERT_TRUE(other.grabKeyboard());
  keys.tap({XKB_KEY_Alt_L, XKB_KEY_a});
  EXPECT_EQ(take(), (Events{{Kind::flagsChanged, leftOption | option},
                            {Kind::keyDown, leftOption | option},
                            {Kind::flagsChanged, 0}}));
}

TEST_F(X11KeyEventMonitorTest, FollowsTheLayout) {
  ASSERT_TRUE(setLayout({"de"}));
  ASSERT_TRUE(start());
  keys.tap({XKB_KEY_ISO_Level3_Shift});
  EXPECT_EQ(take().front(), (ModifierEvent{Kind::flagsChanged, rightOption | option}));
  const uint8_t capsLock = keys.codeOf(XKB_KEY_Caps_Lock);
  ASSERT_TRUE(setLayout({"us", "-option", "ctrl:nocaps"}));
  EXPECT_TRUE(waitUntil([&] {
    keys.pressCode(capsLock);
    keys.releaseCode(capsLock);
    const auto seen = take();
    return std::find(seen.begin(), seen.end(), ModifierEvent{Kind::flagsChanged, control}) != seen.end();
  }));
}

TEST_F(X11KeyEventMonitorTest, SeesFnOnlyWhereAKeyGivesIt) {
  EXPECT_FALSE(monitor.canSee(ModifierKey::fn));
  for (const ModifierKey key : {ModifierKey::control, ModifierKey::leftOption, ModifierKey::rightOption})
    EXPECT_TRUE(monitor.canSee(key));
  constexpr uint8_t wakeUp = 151;
  other.mapKey(wakeUp, XKB_KEY_XF86Fn);
  EXPECT_TRUE(waitUntil([&] { return monitor.canSee(ModifierKey::fn); }));
  ASSERT_TRUE(start());
  keys.pressCode(wakeUp);
  EXPECT_EQ(take(), (Events{{Kind::flagsChanged, function}}));
}

}  // namespace
}  // namespace quillmere
