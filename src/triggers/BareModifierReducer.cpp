#include "triggers/BareModifierReducer.h"

namespace quillmere {
namespace {

using Reducer = BareModifierReducer;
using Timer = Reducer::Timer;
using Signal = Reducer::Signal;

double seconds(Duration duration) {
  return std::chrono::duration<double>(duration).count();
}

qint64 milliseconds(Duration duration) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(duration).count();
}

// One step in the making.
class Stepper {
 public:
  Stepper(const Reducer::State& state, TimePoint now) : now_(now) { step_.state = state; }

  Reducer::Step take() { return std::move(step_); }

  void on(const Reducer::Start& event) {
    state().currentMode = event.key;
    state().isModifierPressed = false;
    rest();
  }

  void on(const Reducer::Stop&) {
    state().isSuspended = false;
    cancelTapTimers();
    forgetFn();
    state().currentMode.reset();
    state().isModifierPressed = false;
    rest();
    log(LogLevel::info, "BareModifierKeyMonitor stopped");
  }

  void on(const Reducer::SetSuspended& event) {
    if (event.isSuspended && !state().isSuspended) state().isHeldInSuspension = state().isModifierPressed;
    state().isSuspended = event.isSuspended;
    if (!event.isSuspended) {
      log(LogLevel::debug, "BareModifierKeyMonitor resumed");
      // Our own keystrokes are over: what is down now is the user's, who would otherwise speak to nobody, or to a
      // recording that doesn't see the key let go.
      if (std::exchange(state().isHeldInSuspension, false) && state().currentMode) take(true);
      return;
    }
    state().isModifierPressed = false;
    cancel(Timer::activation);
    cancel(Timer::latch);
    forgetFn();
    log(LogLevel::debug, "BareModifierKeyMonitor suspended");
  }

  void on(const Reducer::ResetToIdle&) {
    if (state().monitor == MonitorState::idle || state().monitor == MonitorState::waitingForActivation) return;
    log(LogLevel::info, "BareModifierKeyMonitor resetToIdle from state: %s", rawValue(state().monitor));
    // A key that is still held stays known as held: the rest of a chord begins no recording.
    if (state().pendingFnKeyState) state().isModifierPressed = *state().pendingFnKeyState;
    rest();
    cancelTapTimers();
    forgetFn();
  }

  void on(const Reducer::SetDoublePressEnabled& event) { state().doublePressEnabled = event.isEnabled; }

  void on(const ModifierEvent& event) {
    if (!state().currentMode) return;
    const ModifierKey key = *state().currentMode;
    if (state().isSuspended) {
      if (event.kind == ModifierEvent::Kind::flagsChanged)
        state().isHeldInSuspension = (event.flags & modifierFlags::of(key)) != 0;
      return;
    }
    if (isInterference(event, key) && isHoldUnderWay()) return interfere(event);
    if (event.kind != ModifierEvent::Kind::flagsChanged) return;
    const bool isPressed = (event.flags & modifierFlags::of(key)) != 0;
    if (key != ModifierKey::fn) return take(isPressed);
    if (state().monitor == MonitorState::latchActive || state().monitor == MonitorState::unlatchPending) {
      // The latch needs its taps seen at once.
      forgetFn();
      return take(isPressed);
    }
    state().pendingFnKeyState = isPressed;
    start(Timer::fnDebounce, Reducer::fnDebounceDelay);
  }

  void on(const Reducer::TimerFired& event) {
    switch (event.timer) {
      case Timer::latch:
        return latchWindowOver();
      case Timer::activation:
        if (state().monitor != MonitorState::waitingForActivation) return;
        state().monitor = MonitorState::pttActive;
        state().firstTapTime = now_;
        return begin();
      case Timer::doubleTapStart:
        if (state().monitor != MonitorState::pttActive && state().monitor != MonitorState::latchActive)
          return log(LogLevel::debug, "Double-tap start cancelled - state changed to %s", rawValue(state().monitor));
        log(LogLevel::info, "Double-tap delayed recording start triggered");
        return begin();
      case Timer::fnDebounce:
        if (state().pendingFnKeyState) take(*state().pendingFnKeyState);
        return;
    }
  }

 private:
  Reducer::State& state() { return step_.state; }
  void cancel(Timer timer) { step_.effects.push_back(Reducer::CancelTimer{timer}); }
  void start(Timer timer, Duration delay) { step_.effects.push_back(Reducer::StartTimer{timer, delay}); }
  void signal(Signal signal) { step_.effects.push_back(signal); }
  void begin() {
    state().hasBegun = true;
    signal(Signal::modifierDown);
  }
  void rest() {
    state().monitor = MonitorState::idle;
    state().hasBegun = false;
  }
  template <typename... A>
  void log(LogLevel level, LogFormat<std::type_identity_t<A>...> format, const A&... arguments) {
    step_.effects.push_back(
        LogRecord{level, QStringLiteral("BareModifierKeyMonitor"), format.text(), {logArgument(arguments)...}});
  }
  void breadcrumb(const char* category, const char* message, QVariantMap data) {
    data[QStringLiteral("mode")] = state().currentMode ? rawValue(*state().currentMode) : QString();
    step_.effects.push_back(
        Breadcrumb{QString::fromLatin1(message), QString::fromLatin1(category), ReportLevel::info, std::move(data)});
  }
  void doubleTapBreadcrumb(const char* message, QVariantMap data) {
    breadcrumb("ptt.doubletap", message, std::move(data));
  }
  void cancelTapTimers() {
    for (const Timer timer : {Timer::latch, Timer::activation, Timer::doubleTapStart}) cancel(timer);
  }
  void forgetFn() {
    cancel(Timer::fnDebounce);
    state().pendingFnKeyState.reset();
  }
  bool isHoldUnderWay() {
    return state().monitor == MonitorState::waitingForActivation || state().monitor == MonitorState::pttActive;
  }
  bool isInterference(const ModifierEvent& event, ModifierKey key) {
    switch (event.kind) {
      case ModifierEvent::Kind::keyDown:
        return true;
      case ModifierEvent::Kind::buttonDown:  // after a tap the user may still go to the place for the text
        return state().pendingFnKeyState.value_or(state().isModifierPressed);
      case ModifierEvent::Kind::flagsChanged:
        break;
    }
    return (event.flags & Reducer::interferenceMask(key)) != 0;
  }
  Duration sinceFirstTap() { return now_ - state().firstTapTime.value_or(TimePoint()); }

  void take(bool isPressed) {
    if (isPressed == state().isModifierPressed) return;
    state().isModifierPressed = isPressed;
    isPressed ? press() : release();
  }

  void press() {
    switch (state().monitor) {
      case MonitorState::idle:
        state().monitor = MonitorState::waitingForActivation;
        return start(Timer::activation, Reducer::activationDelay);
      case MonitorState::pttActive:
        return cancel(Timer::latch);
      case MonitorState::latchActive:
        return pressWhileLocked();
      case MonitorState::waitingForActivation:
      case MonitorState::unlatchPending:
        return;
    }
  }

  void pressWhileLocked() {
    const Duration sinceLock = now_ - state().lastLatchActiveTime.value_or(TimePoint());
    if (sinceLock < Reducer::minimumLockDuration) {
      const qint64 minimum = milliseconds(Reducer::minimumLockDuration);
      log(LogLevel::debug, "Ignoring keyDown - too soon after lock (%ldms < %ldms)", milliseconds(sinceLock), minimum);
      return doubleTapBreadcrumb("Bounce protection: ignoring early unlock attempt",
                                 {{QStringLiteral("timeSinceLockMs"), milliseconds(sinceLock)},
                                  {QStringLiteral("minimumLockDurationMs"), minimum}});
    }
    cancel(Timer::doubleTapStart);
    state().monitor = MonitorState::unlatchPending;
    state().firstTapTime.reset();
  }

  void release() {
    switch (state().monitor) {
      case MonitorState::waitingForActivation:
        return releaseBeforeActivation();
      case MonitorState::pttActive:
        return releaseWhileActive();
      case MonitorState::unlatchPending:
        return releaseWhileUnlocking();
      case MonitorState::idle:
      case MonitorState::latchActive:
        return;
    }
  }

  void releaseBeforeActivation() {
    cancel(Timer::activation);
    if (!state().doublePressEnabled) return rest();
    state().monitor = MonitorState::pttActive;
    state().firstTapTime = now_;
    doubleTapBreadcrumb("Double-tap first tap detected",
                        {{QStringLiteral("previousState"), rawValue(MonitorState::waitingForActivation)},
                         {QStringLiteral("newState"), rawValue(MonitorState::pttActive)},
                         {QStringLiteral("doublePressInterval"), seconds(Reducer::doublePressInterval)},
                         {QStringLiteral("doubleTapStartDelay"), seconds(Reducer::doubleTapStartDelay)}});
    start(Timer::doubleTapStart, Reducer::doubleTapStartDelay);
    start(Timer::latch, Reducer::doublePressInterval);
  }

  void releaseWhileActive() {
    const Duration elapsed = sinceFirstTap();
    const bool isInTime = elapsed <= Reducer::doublePressInterval;
    if (state().doublePressEnabled && isInTime) {
      cancel(Timer::latch);
      state().monitor = MonitorState::latchActive;
      state().lastLatchActiveTime = now_;
      log(LogLevel::info, "Double tap lock confirmed");
      return doubleTapBreadcrumb("Double-tap lock confirmed", {{QStringLiteral("timeSinceFirstTap"), seconds(elapsed)},
                                                               {QStringLiteral("withinInterval"), true}});
    }
    doubleTapBreadcrumb(
        "Single tap release - stopping recording",
        {{QStringLiteral("timeSinceFirstTap"), seconds(elapsed)},
         {QStringLiteral("doublePressInterval"), seconds(Reducer::doublePressInterval)},
         {QStringLiteral("reason"), isInTime ? QStringLiteral("doublePressDisabled") : QStringLiteral("tooSlow")}});
    rest();
    signal(Signal::modifierUp);
  }

  void releaseWhileUnlocking() {
    if (!state().firstTapTime) {
      state().firstTapTime = now_;
      log(LogLevel::debug, "Double tap unlock: first tap complete, waiting for second");
      doubleTapBreadcrumb("Double-tap unlock first tap detected",
                          {{QStringLiteral("previousState"), rawValue(MonitorState::unlatchPending)},
                           {QStringLiteral("doublePressInterval"), seconds(Reducer::doublePressInterval)}});
      return start(Timer::latch, Reducer::doublePressInterval);
    }
    const Duration elapsed = sinceFirstTap();
    cancel(Timer::latch);
    if (elapsed <= Reducer::doublePressInterval) {
      log(LogLevel::info, "Double tap unlock confirmed");
      doubleTapBreadcrumb("Double-tap unlock confirmed", {{QStringLiteral("timeSinceFirstTap"), seconds(elapsed)},
                                                          {QStringLiteral("withinInterval"), true}});
      rest();
      return signal(Signal::modifierUp);
    }
    log(LogLevel::debug, "Double tap unlock too slow (%fs) - resetting to locked", seconds(elapsed));
    doubleTapBreadcrumb("Double-tap unlock failed - too slow",
                        {{QStringLiteral("timeSinceFirstTap"), seconds(elapsed)},
                         {QStringLiteral("doublePressInterval"), seconds(Reducer::doublePressInterval)}});
    state().monitor = MonitorState::latchActive;
  }

  void latchWindowOver() {
    QVariantMap data{{QStringLiteral("timeSinceFirstTap"), seconds(sinceFirstTap())},
                     {QStringLiteral("doublePressInterval"), seconds(Reducer::doublePressInterval)}};
    if (state().monitor == MonitorState::unlatchPending) {
      log(LogLevel::debug, "Unlock timeout - going back to locked mode");
      data[QStringLiteral("outcome")] = QStringLiteral("backToLocked");
      doubleTapBreadcrumb("Unlock timeout - no second tap detected", std::move(data));
      state().monitor = MonitorState::latchActive;
    } else if (state().monitor == MonitorState::pttActive) {
      data[QStringLiteral("outcome")] = QStringLiteral("stoppingRecording");
      doubleTapBreadcrumb("Latch timeout - no second tap detected", std::move(data));
      rest();
      signal(Signal::modifierUp);
    }
  }

  void interfere(const ModifierEvent& event) {
    const bool wasActive = state().monitor == MonitorState::pttActive;
    const bool hadBegun = state().hasBegun;
    const QString previous = rawValue(state().monitor);
    cancel(Timer::activation);
    cancel(Timer::doubleTapStart);
    if (wasActive) cancel(Timer::latch);
    breadcrumb(
        "ptt.interference",
        wasActive ? "Interference detected while PTT active" : "Interference detected during activation",
        {{QStringLiteral("previousState"), previous},
         {QStringLiteral("outcome"), wasActive ? QStringLiteral("stoppingRecording") : QStringLiteral("cancelled")}});
    // A key that is still held has to be let go before it counts again: the rest of a chord begins no recording.
    if (event.kind == ModifierEvent::Kind::flagsChanged && state().currentMode != ModifierKey::fn)
      state().isModifierPressed = (event.flags & modifierFlags::of(*state().currentMode)) != 0;
    rest();
    if (wasActive)
      log(LogLevel::info, "BareModifierKeyMonitor interference while active - stopping PTT");
    else
      log(LogLevel::info, "BareModifierKeyMonitor interference during activation - cancelling PTT start");
    if (hadBegun) signal(Signal::interferenceDetected);
  }

  Reducer::Step step_;
  const TimePoint now_;
};

}  // namespace

BareModifierReducer::Step BareModifierReducer::step(const State& state, const Event& event, TimePoint now) {
  Stepper stepper(state, now);
  std::visit([&](const auto& what) { stepper.on(what); }, event);
  return stepper.take();
}

unsigned BareModifierReducer::interferenceMask(ModifierKey key) {
  using namespace modifierFlags;
  switch (key) {
    case ModifierKey::control:
    case ModifierKey::leftControl:
    case ModifierKey::rightControl:
      return super | shift | alt;
    case ModifierKey::leftAlt:
    case ModifierKey::rightAlt:
      return super | shift | control;
    case ModifierKey::leftShift:
    case ModifierKey::rightShift:
      return super | alt | control;
    case ModifierKey::leftSuper:
    case ModifierKey::rightSuper:
      return shift | alt | control;
    case ModifierKey::fn:
    case ModifierKey::capsLock:
    case ModifierKey::menu:
    case ModifierKey::pause:
    case ModifierKey::scrollLock:
      return super | shift | alt | control;
  }
  return 0;
}

}  // namespace quillmere
