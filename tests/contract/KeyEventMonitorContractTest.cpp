#include "contract/Sides.h"
#include "platform/x11/X11Desk.h"
#include "platform/x11/X11KeyEventMonitor.h"
#include "support/FakeKeyEventMonitor.h"

namespace quillmere {
namespace {

using Kind = ModifierEvent::Kind;
using Events = std::vector<ModifierEvent>;
using namespace modifierFlags;

struct FakeSide {
  void hold(unsigned flags) { monitor.setFlags(flags); }
  void tapKey() { monitor.pressKey(); }
  void click() { monitor.click(); }
  void forbid() { monitor.isAllowed = false; }
  FakeKeyEventMonitor monitor;
};

struct X11Side : X11Desk {
  // The user holds these modifiers, and no other one.
  void hold(unsigned flags) {
    for (const auto& [symbol, flag] :
         {std::pair{XKB_KEY_Control_L, leftControl}, std::pair{XKB_KEY_Control_R, rightControl},
          std::pair{XKB_KEY_Shift_L, leftShift}, std::pair{XKB_KEY_Shift_R, rightShift},
          std::pair{XKB_KEY_Alt_L, leftAlt}, std::pair{XKB_KEY_Alt_R, rightAlt}, std::pair{XKB_KEY_Super_L, leftSuper},
          std::pair{XKB_KEY_Super_R, rightSuper}, std::pair{XKB_KEY_Caps_Lock, capsLock}, std::pair{XKB_KEY_Menu, menu},
          std::pair{XKB_KEY_Pause, modifierFlags::pause}, std::pair{XKB_KEY_Scroll_Lock, scrollLock}}) {
      if (flags & flag & ~held) keys.press(symbol);
      if (held & flag & ~flags) keys.release(symbol);
    }
    held = flags;
  }
  void tapKey() { keys.tap({XKB_KEY_c}); }
  void click() { keys.click(1); }
  void forbid() { server.kill(); }
  unsigned held = 0;
  X11KeyEventMonitor monitor{server.displayName()};
};

template <typename Side>
class KeyEventMonitorContract : public testing::Test, public Side {
 protected:
  bool start(ModifierKey key = ModifierKey::control) {
    return this->monitor.start(key, [this](const ModifierEvent& event) { events.push_back(event); });
  }
  Events take() {
    this->monitor.catchUp();
    return std::exchange(events, {});
  }
  Events events;
};
using Sides = testing::Types<FakeSide, X11Side>;
TYPED_TEST_SUITE(KeyEventMonitorContract, Sides, SideNames);

constexpr unsigned aControl = leftControl | control;
constexpr unsigned aShift = rightShift | shift;

TYPED_TEST(KeyEventMonitorContract, EachEventComesInItsOrderWithTheKeysAfterIt) {
  const std::pair<ModifierKey, unsigned> keys[] = {
      {ModifierKey::leftControl, aControl},        {ModifierKey::rightControl, rightControl | control},
      {ModifierKey::leftShift, leftShift | shift}, {ModifierKey::rightShift, aShift},
      {ModifierKey::leftAlt, leftAlt | alt},       {ModifierKey::rightAlt, rightAlt | alt},
      {ModifierKey::leftSuper, leftSuper | super}, {ModifierKey::rightSuper, rightSuper | super},
      {ModifierKey::capsLock, capsLock},           {ModifierKey::menu, menu},
      {ModifierKey::pause, modifierFlags::pause},  {ModifierKey::scrollLock, scrollLock}};
  for (const auto& [key, flags] : keys) {
    EXPECT_NE(flags & of(key), 0U);
    ASSERT_TRUE(this->start(key));
    this->hold(flags);
    this->tapKey();
    this->click();
    this->hold(0);
    EXPECT_EQ(
        this->take(),
        (Events{
            {Kind::flagsChanged, flags}, {Kind::keyDown, flags}, {Kind::buttonDown, flags}, {Kind::flagsChanged, 0}}))
        << rawValue(key).toStdString();
  }
  this->hold(aControl);
  this->hold(aControl | rightAlt | alt);
  this->hold(aControl);
  EXPECT_EQ(this->take(), (Events{{Kind::flagsChanged, aControl},
                                  {Kind::flagsChanged, aControl | rightAlt | alt},
                                  {Kind::flagsChanged, aControl}}));
}

TYPED_TEST(KeyEventMonitorContract, KnowsWhatIsHeldThoughNobodyWatched) {
  this->hold(aShift);
  ASSERT_TRUE(this->start());
  this->hold(aShift | aControl);
  EXPECT_EQ(this->take(), (Events{{Kind::flagsChanged, aShift | aControl}}));
  this->monitor.stop();
  this->hold(aControl);
  this->tapKey();
  this->click();
  EXPECT_EQ(this->take(), Events());
  ASSERT_TRUE(this->start());
  this->tapKey();
  EXPECT_EQ(this->take(), (Events{{Kind::keyDown, aControl}}));
}

TYPED_TEST(KeyEventMonitorContract, WhatMayNotWatchSeesNothing) {
  ASSERT_TRUE(this->start());
  this->forbid();
  EXPECT_TRUE(waitUntil([&] { return !this->start(); }));
  EXPECT_EQ(this->take(), Events());
}

}  // namespace
}  // namespace quillmere
