#include "platform/x11/X11KeyEventMonitor.h"

#include "platform/x11/X11Desk.h"

namespace quillmere {

inline void PrintTo(const ModifierEvent& event, std::ostream* out) {
  const char* const kinds[] = {"key ", "button ", "flags "};
  *out << kinds[int(event.kind)] << std::hex << event.flags;
}

namespace {

using Kind = ModifierEvent::Kind;
using namespace modifierFlags;

class X11KeyEventMonitorTest : public X11DeskTest {
 protected:
  bool start(ModifierKey key = ModifierKey::control) {
    return monitor.start(key, [this](const ModifierEvent& event) { events.push_back(event); });
  }
  std::vector<ModifierEvent> take() {
    monitor.catchUp();
    return std::exchange(events, {});
  }

  X11KeyEventMonitor monitor{server.displayName()};
  std::vector<ModifierEvent> events;
};

TEST_F(X11KeyEventMonitorTest, TellsTheSidesApart) {
  ASSERT_TRUE(start());
  keys.press(XKB_KEY_Control_L);
  keys.press(XKB_KEY_Control_R);
  keys.release(XKB_KEY_Control_L);
  keys.release(XKB_KEY_Control_R);
  EXPECT_EQ(take(), (std::vector<ModifierEvent>{{Kind::flagsChanged, control | leftControl},
                                                {Kind::flagsChanged, control | leftControl | rightControl},
                                                {Kind::flagsChanged, control | rightControl},
                                                {Kind::flagsChanged, 0}}));
}

TEST_F(X11KeyEventMonitorTest, TheWheelIsSeenLikeAButton) {
  ASSERT_TRUE(start());
  for (const uint8_t button : {3, 4, 5}) {
    keys.click(button);
    EXPECT_EQ(take(), (std::vector<ModifierEvent>{{Kind::buttonDown, 0}})) << int(button);
  }
}

// A menu that opens or capitals that lock would go where the text is to go.
TEST_F(X11KeyEventMonitorTest, AKeyWithoutAMeaningInChordsIsKeptFromOthersWhileItIsWatched) {
  other.showFocusedWindow();
  const std::pair<ModifierKey, uint32_t> watched[] = {{ModifierKey::menu, XKB_KEY_Menu},
                                                      {ModifierKey::pause, XKB_KEY_Pause},
                                                      {ModifierKey::scrollLock, XKB_KEY_Scroll_Lock},
                                                      {ModifierKey::capsLock, XKB_KEY_Caps_Lock}};
  for (const auto& [key, symbol] : watched) {
    ASSERT_TRUE(start(key));
    keys.tap({symbol});
    EXPECT_EQ(take(), (std::vector<ModifierEvent>{{Kind::flagsChanged, of(key)}, {Kind::flagsChanged, 0}}));
    keys.tap({XKB_KEY_a});
    EXPECT_EQ(other.takeKeys(), std::vector<int>{keys.codeOf(XKB_KEY_a)}) << rawValue(key).toStdString();
    EXPECT_EQ(take(), (std::vector<ModifierEvent>{{Kind::keyDown, 0}}));
    monitor.stop();
    keys.tap({symbol});
    EXPECT_EQ(other.takeKeys(), std::vector<int>{keys.codeOf(symbol)}) << rawValue(key).toStdString();
  }
  // Modifiers stay everybody's.
  ASSERT_TRUE(start(ModifierKey::rightControl));
  keys.tap({XKB_KEY_Control_R});
  EXPECT_EQ(other.takeKeys(), std::vector<int>{keys.codeOf(XKB_KEY_Control_R)});
}

TEST_F(X11KeyEventMonitorTest, IsWatchedAlsoWhereAnotherProgramHasTheKey) {
  ASSERT_TRUE(other.grabKey(0, keys.codeOf(XKB_KEY_Pause)));
  ASSERT_TRUE(start(ModifierKey::pause));
  keys.tap({XKB_KEY_Pause});
  EXPECT_EQ(take(),
            (std::vector<ModifierEvent>{{Kind::flagsChanged, of(ModifierKey::pause)}, {Kind::flagsChanged, 0}}));
}

TEST_F(X11KeyEventMonitorTest, AWatchedCapsLockLocksNothing) {
  other.showFocusedWindow();
  const auto isLocked = [&] {
    take();
    take();  // what the first did has reached the server
    other.takePresses();
    keys.tap({XKB_KEY_a});
    const auto presses = other.takePresses();
    return presses.size() == 1 && (presses.front().modifiers & XCB_MOD_MASK_LOCK) != 0;
  };
  ASSERT_TRUE(start(ModifierKey::capsLock));
  for (int tap = 0; tap < 2; ++tap) {
    keys.tap({XKB_KEY_Caps_Lock});
    EXPECT_FALSE(isLocked());
  }
  monitor.stop();
  keys.tap({XKB_KEY_Caps_Lock});
  EXPECT_TRUE(isLocked()) << "the key does again what it did";
  ASSERT_TRUE(start(ModifierKey::capsLock));
  keys.tap({XKB_KEY_Caps_Lock});
  EXPECT_FALSE(isLocked()) << "what was locked before can be unlocked";
}

TEST_F(X11KeyEventMonitorTest, SeesKeysWhileAnotherProgramHasTheKeyboard) {
  ASSERT_TRUE(start());
  ASSERT_TRUE(other.grabKeyboard());
  keys.tap({XKB_KEY_Alt_L, XKB_KEY_a});
  EXPECT_EQ(take(), (std::vector<ModifierEvent>{
                        {Kind::flagsChanged, leftAlt | alt}, {Kind::keyDown, leftAlt | alt}, {Kind::flagsChanged, 0}}));
}

TEST_F(X11KeyEventMonitorTest, FollowsTheLayout) {
  ASSERT_TRUE(setLayout({"de"}));
  ASSERT_TRUE(start());
  keys.tap({XKB_KEY_ISO_Level3_Shift});
  EXPECT_EQ(take().front(), (ModifierEvent{Kind::flagsChanged, rightAlt | alt}));
  const uint8_t capsLock = keys.codeOf(XKB_KEY_Caps_Lock);
  ASSERT_TRUE(setLayout({"us", "-option", "ctrl:nocaps"}));
  EXPECT_TRUE(waitUntil([&] {
    keys.pressCode(capsLock);
    keys.releaseCode(capsLock);
    const auto seen = take();
    return std::find(seen.begin(), seen.end(), ModifierEvent{Kind::flagsChanged, control | leftControl}) != seen.end();
  }));
}

TEST_F(X11KeyEventMonitorTest, SeesFnOnlyWhereAKeyGivesIt) {
  for (const ModifierKey key : allCases<ModifierKey>())
    EXPECT_EQ(monitor.canSee(key), key != ModifierKey::fn) << rawValue(key).toStdString();
  constexpr uint8_t wakeUp = 151;
  other.mapKey(wakeUp, XKB_KEY_XF86Fn);
  EXPECT_TRUE(waitUntil([&] { return monitor.canSee(ModifierKey::fn); }));
  ASSERT_TRUE(start());
  keys.pressCode(wakeUp);
  EXPECT_EQ(take(), (std::vector<ModifierEvent>{{Kind::flagsChanged, function}}));
}

}  // namespace
}  // namespace quillmere
