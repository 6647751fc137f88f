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
  void forbid() { monitor.isAllowed = false; }
  FakeKeyEventMonitor monitor;
};

struct X11Side : X11Desk {
  // The user holds these modifiers, and no other one.
  void hold(unsigned flags) {
    for (const auto& [symbol, flag] : {std::pair{XKB_KEY_Control_L, control}, std::pair{XKB_KEY_Shift_R, shift},
                                       std::pair{XKB_KEY_Alt_L, leftOption}, std::pair{XKB_KEY_Alt_R, rightOption},
                                       std::pair{XKB_KEY_Super_L, command}}) {
      if (flags & flag & ~held) keys.press(symbol);
      if (held & flag & ~flags) keys.release(symbol);
    }
    held = flags;
  }
  void tapKey() { keys.tap({XKB_KEY_c}); }
  void forbid() { server.kill(); }
  unsigned held = 0;
  X11KeyEventMonitor monitor{server.displayName()};
};

template <typename Side>
class KeyEventMonitorContract : public testing::Test, public Side {
 protected:
  bool start() {
    return this->monitor.start([this](const ModifierEvent& event) { events.push_back(event); });
  }
  Events take() {
    this->monitor.catchUp();
    return std::exchange(events, {});
  }
  Events events;
};
using Sides = testing::Types<FakeSide, X11Side>;
TYPED_TEST_SUITE(KeyEventMonitorContract, Sides, SideNames);

TYPED_TEST(KeyEventMonitorContract, EachEventComesInItsOrderWithTheModifiersAfterIt) {
  ASSERT_TRUE(this->start());
  for (const unsigned flags : {control, shift, leftOption | option, rightOption | option, command}) {
    this->hold(flags);
    this->hold(0);
    EXPECT_EQ(this->take(), (Events{{Kind::flagsChanged, flags}, {Kind::flagsChanged, 0}}));
  }
  this->hold(control);
  this->hold(control | rightOption | option);
  this->tapKey();
  this->hold(control);
  EXPECT_EQ(this->take(), (Events{{Kind::flagsChanged, control},
                                  {Kind::flagsChanged, control | rightOption | option},
                                  {Kind::keyDown, control | rightOption | option},
                                  {Kind::flagsChanged, control}}));
}

TYPED_TEST(KeyEventMonitorContract, KnowsWhatIsHeldThoughNobodyWatched) {
  this->hold(shift);
  ASSERT_TRUE(this->start());
  this->hold(shift | control);
  EXPECT_EQ(this->take(), (Events{{Kind::flagsChanged, shift | control}}));
  this->monitor.stop();
  this->hold(control);
  this->tapKey();
  EXPECT_EQ(this->take(), Events());
  ASSERT_TRUE(this->start());
  this->tapKey();
  EXPECT_EQ(this->take(), (Events{{Kind::keyDown, control}}));
}

TYPED_TEST(KeyEventMonitorContract, WhatMayNotWatchSeesNothing) {
  ASSERT_TRUE(this->start());
  this->forbid();
  EXPECT_TRUE(waitUntil([&] { return !this->start(); }));
  EXPECT_EQ(this->take(), Events());
}

}  // namespace
}  // namespace quillmere
