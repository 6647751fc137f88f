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
TEST(BareModifierReducerTest, TimersThatFireInAStateTheyWereNotMadeForChangeNothing) {
  const std::pair<Timer, MonitorState> cases[] = {
      {Timer::activation, MonitorState::idle},
      {Timer::activation, MonitorState::pttActive},
      {Timer::activation, MonitorState::latchActive},
      {Timer::latch, MonitorState::idle},
      {Timer::latch, MonitorState::latchActive},
      {Timer::fnDebounce, MonitorState::idle},
      {Timer::doubleTapStart, MonitorState::idle},
      {Timer::doubleTapStart, MonitorState::waitingForActivation},
      {Timer::doubleTapStart, MonitorState::unlatchPending},
  };
  for (const auto& [timer, monitor] : cases) {
    const Reducer::State before = stateOf(monitor);
    const Reducer::Step step = Reducer::step(before, Reducer::TimerFired{timer}, zero + 9s);
    EXPECT_EQ(step.state, before);
    for (const auto& effect : step.effects) EXPECT_TRUE(std::holds_alternative<LogRecord>(effect));
  }
}

TEST(BareModifierReducerTest, WhatComesLateIsJudgedByItsOwnTime) {
  const ModifierEvent letGo{ModifierEvent::Kind::flagsChanged, 0};
  Reducer::State state = stateOf(MonitorState::waitingForActivation, true);
  state = Reducer::step(state, Reducer::TimerFired{Timer::activation}, zero + 2s).state;
  EXPECT_EQ(Reducer::step(state, letGo, zero + 3500ms).state.monitor, MonitorState::latchActive);
  // The second tap of an unlock, before the timer that ends the window was handled.
  const auto slow = Reducer::step(stateOf(MonitorState::unlatchPending, true), letGo, zero + 1750ms);
  EXPECT_EQ(slow.state.monitor, MonitorState::latchActive);
}

}  // namespace
}  // namespace quillmere
