#pragma once
#include <optional>
#include <variant>
#include <vector>

#include "base/async/Executor.h"
#include "base/log/Logger.h"
#include "domain/ModifierKey.h"
#include "ports/CrashReporter.h"
#include "ports/KeyEventMonitor.h"
#include "triggers/MonitorState.h"

namespace quillmere {

// Push-to-talk on a single key, as a pure function: the effects are to be performed in their order; a signal is always
// the last one. Tells a hold from a chord, and has a latch: a second tap locks, two taps unlock.
class BareModifierReducer {
 public:
  static constexpr Duration minimumLockDuration = std::chrono::seconds(1);
  static constexpr Duration doublePressInterval = std::chrono::milliseconds(1500);
  static constexpr Duration activationDelay = std::chrono::milliseconds(250);
  static constexpr Duration doubleTapStartDelay = std::chrono::milliseconds(100);
  static constexpr Duration fnDebounceDelay = std::chrono::milliseconds(75);

  enum class Timer { latch, activation, doubleTapStart, fnDebounce };
  // interferenceDetected: another key or a click came in after modifierDown. Before it there is nothing to take back,
  // and the key belongs to a chord that is none of ours.
  enum class Signal { modifierDown, modifierUp, interferenceDetected };

  struct State {
    std::optional<ModifierKey> currentMode;
    MonitorState monitor = MonitorState::idle;
    bool isModifierPressed = false;
    bool isSuspended = false;
    bool isHeldInSuspension = false;
    bool doublePressEnabled = true;
    bool hasBegun = false;  // modifierDown was given for this gesture
    std::optional<TimePoint> firstTapTime;
    std::optional<TimePoint> lastLatchActiveTime;
    std::optional<bool> pendingFnKeyState;
    bool operator==(const State&) const = default;
  };

  struct Start {
    ModifierKey key;
  };
  struct Stop {};
  struct SetSuspended {
    bool isSuspended;
  };
  struct ResetToIdle {};
  struct SetDoublePressEnabled {
    bool isEnabled;
  };
  struct TimerFired {
    Timer timer;
  };
  using Event = std::variant<Start, Stop, SetSuspended, ResetToIdle, SetDoublePressEnabled, ModifierEvent, TimerFired>;

  // A timer that starts takes the place of the one of the same name.
  struct StartTimer {
    Timer timer;
    Duration delay;
  };
  struct CancelTimer {
    Timer timer;
  };
  using Effect = std::variant<StartTimer, CancelTimer, LogRecord, Breadcrumb, Signal>;

  struct Step {
    State state;
    std::vector<Effect> effects;
  };

  static Step step(const State& state, const Event& event, TimePoint now);

  // The bits of ModifierEvent::flags that spoil a hold: modifiers of another kind. The same key on the other side
  // doesn't.
  static unsigned interferenceMask(ModifierKey key);
};

}  // namespace quillmere
