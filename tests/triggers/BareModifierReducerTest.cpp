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

std::vector<Reducer::Signal> signalsOf(const Reducer::Step& step) {
  std::vector<Reducer::Signal> all;
  for (const Reducer::Effect& effect : step.effects)
    if (const auto* signal = std::get_if<Reducer::Signal>(&effect)) all.push_back(*signal);
  return all;
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

TEST(BareModifierReducer, TheWindowIsMeasuredToTheNanosecond) {
  struct Case {
    MonitorState from;
    Duration at;
    MonitorState to;
  };
  for (const auto& [from, at, to] : {Case{MonitorState::pttActive, 1500ms, MonitorState::latchActive},
                                     Case{MonitorState::pttActive, 1500ms + 1ns, MonitorState::idle},
                                     Case{MonitorState::unlatchPending, 1500ms, MonitorState::idle},
                                     Case{MonitorState::unlatchPending, 1500ms + 1ns, MonitorState::latchActive}}) {
    const auto step =
        Reducer::step(stateOf(from, true), ModifierEvent{ModifierEvent::Kind::flagsChanged, 0}, zero + at);
    EXPECT_EQ(step.state.monitor, to);
    EXPECT_EQ(signalsOf(step).empty(), to == MonitorState::latchActive);
  }
  for (const auto& [from, at, to] : {Case{MonitorState::latchActive, 1s - 1ns, MonitorState::latchActive},
                                     Case{MonitorState::latchActive, 1s, MonitorState::unlatchPending}}) {
    const auto step = Reducer::step(
        stateOf(from), ModifierEvent{ModifierEvent::Kind::flagsChanged, modifierFlags::control}, zero + at);
    EXPECT_EQ(step.state.monitor, to);
    EXPECT_TRUE(step.state.isModifierPressed);
  }
}

TEST(BareModifierReducer, AnUnlockThatIsTooSlowSaysSo) {
  const auto step = Reducer::step(stateOf(MonitorState::unlatchPending, true),
                                  ModifierEvent{ModifierEvent::Kind::flagsChanged, 0}, zero + 1750ms);
  ASSERT_EQ(step.effects.size(), 3u);
  EXPECT_EQ(std::get<Reducer::CancelTimer>(step.effects[0]).timer, Timer::latch);
  EXPECT_EQ(std::get<LogRecord>(step.effects[1]).publicText(),
            QStringLiteral("Double tap unlock too slow (1.750000s) - resetting to locked"));
  EXPECT_EQ(std::get<Breadcrumb>(step.effects[2]).message, QStringLiteral("Double-tap unlock failed - too slow"));
  EXPECT_EQ(std::get<Breadcrumb>(step.effects[2]).data.value(QStringLiteral("timeSinceFirstTap")), 1.75);
}

TEST(BareModifierReducer, WithoutAKeyToWatchNothingCounts) {
  Reducer::State state = stateOf(MonitorState::pttActive);
  state.currentMode.reset();
  for (const auto kind : {ModifierEvent::Kind::keyDown, ModifierEvent::Kind::flagsChanged})
    EXPECT_EQ(Reducer::step(state, ModifierEvent{kind, ~0u}, zero).state, state);
}

}  // namespace
}  // namespace quillmere
