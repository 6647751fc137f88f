#include "triggers/BareModifierReducer.h"

#include <gtest/gtest.h>

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Reducer = BareModifierReducer;
using Timer = Reducer::Timer;

constexpr TimePoint zero{};

Reducer::State stateOf(MonitorState monitor, bool isPressed = false) {
  Reducer::State state;
  state.currentMode = ModifierKey::control;
  state.monitor = monitor;
  state.isModifierPressed = isPressed;
  state.firstTapTime = zero;
  state.lastLatchActiveTime = zero;
  return state;
}

// The application's loop may come late to a timer: what counts is the state and the time it finds.
TEST(BareModifierReducer, TimersThatFireInAStateTheyWereNotMadeForChangeNothing) {
  struct Case {
    Timer timer;
    MonitorState state;
  };
  for (const auto& [timer, monitor] :
       {Case{Timer::activation, MonitorState::idle}, Case{Timer::activation, MonitorState::pttActive},
        Case{Timer::activation, MonitorState::latchActive}, Case{Timer::activation, MonitorState::unlatchPending},
        Case{Timer::latch, MonitorState::idle}, Case{Timer::latch, MonitorState::waitingForActivation},
        Case{Timer::latch, MonitorState::latchActive}, Case{Timer::fnDebounce, MonitorState::idle}}) {
    const Reducer::State before = stateOf(monitor);
    const Reducer::Step step = Reducer::step(before, Reducer::TimerFired{timer}, zero + 9s);
    EXPECT_EQ(step.state, before);
    EXPECT_TRUE(step.effects.empty());
  }
  for (const MonitorState monitor :
       {MonitorState::idle, MonitorState::waitingForActivation, MonitorState::unlatchPending}) {
    const Reducer::State before = stateOf(monitor);
    const Reducer::Step step = Reducer::step(before, Reducer::TimerFired{Timer::doubleTapStart}, zero + 100ms);
    EXPECT_EQ(step.state, before);
    ASSERT_EQ(step.effects.size(), 1u);
    EXPECT_EQ(std::get<LogRecord>(step.effects[0]).fullText(),
              QStringLiteral("Double-tap start cancelled - state changed to ") + rawValue(monitor));
  }
}

TEST(BareModifierReducer, ALateActivationOpensTheWindowWhenItComes) {
  Reducer::State state = stateOf(MonitorState::waitingForActivation, true);
  state = Reducer::step(state, Reducer::TimerFired{Timer::activation}, zero + 2s).state;
  EXPECT_EQ(state.firstTapTime, zero + 2s);
  const auto release = Reducer::step(state, ModifierEvent{ModifierEvent::Kind::flagsChanged, 0}, zero + 3500ms);
  EXPECT_EQ(release.state.monitor, MonitorState::latchActive);
}

// Only when the loop comes late to the timer that ends the window.
TEST(BareModifierReducer, AnUnlockThatIsTooSlowSaysSo) {
  const auto step = Reducer::step(stateOf(MonitorState::unlatchPending, true),
                                  ModifierEvent{ModifierEvent::Kind::flagsChanged, 0}, zero + 1750ms);
  EXPECT_EQ(step.state.monitor, MonitorState::latchActive);
  ASSERT_EQ(step.effects.size(), 3u);
  EXPECT_EQ(std::get<LogRecord>(step.effects[1]).publicText(),
            "Double tap unlock too slow (1.750000s) - resetting to locked");
  EXPECT_EQ(std::get<Breadcrumb>(step.effects[2]).message, "Double-tap unlock failed - too slow");
}

}  // namespace
}  // namespace quillmere
