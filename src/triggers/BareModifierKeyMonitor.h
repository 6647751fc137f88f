#pragma once
#include <array>
#include <functional>
#include <memory>

#include "ports/ErrorReporting.h"
#include "triggers/BareModifierReducer.h"

namespace quillmere {

// Turns what one key does on its own into three signals: start a recording, stop it, another key or a click spoiled
// what was started.
// Timing and gestures are BareModifierReducer's. Main thread. Signals come from inside an event of the keyboard, a
// timer or nothing else: never out of a call of this class. A signal's handler may call anything here, but not destroy
// this. Keyboard, executor and reporting (may be null) outlive this object.
class BareModifierKeyMonitor {
 public:
  BareModifierKeyMonitor(KeyEventMonitor& keyboard, Executor& executor, ErrorReporting* reporting,
                         const Logging& logging);
  BareModifierKeyMonitor(const BareModifierKeyMonitor&) = delete;
  BareModifierKeyMonitor& operator=(const BareModifierKeyMonitor&) = delete;
  ~BareModifierKeyMonitor();

  // Stops what runs and watches this key. isMonitoring() is false afterwards when the keyboard can't be watched.
  void start(ModifierKey key);
  void stop();
  // While suspended (our own keystrokes) no event counts and the key counts as released; the gesture stays where it is.
  void setSuspended(bool isSuspended);
  // For a recording that ended by other means. Does nothing before a recording was started.
  void resetToIdle();
  void setDoublePressEnabled(bool isEnabled);

  bool isMonitoring() const { return isMonitoring_; }
  MonitorState state() const { return state_.monitor; }
  // False where this keyboard has no such key.
  bool canSee(ModifierKey key) const { return keyboard_.canSee(key); }

  void setOnModifierDown(std::function<void()> handler) { onModifierDown_ = std::move(handler); }
  void setOnModifierUp(std::function<void()> handler) { onModifierUp_ = std::move(handler); }
  void setOnInterferenceDetected(std::function<void()> handler) { onInterferenceDetected_ = std::move(handler); }

 private:
  using Reducer = BareModifierReducer;
  static constexpr size_t timerKinds = 4;

  void handle(const Reducer::Event& event);
  void perform(const Reducer::StartTimer& effect);
  void perform(const Reducer::CancelTimer& effect);
  void perform(const LogRecord& record);
  void perform(const Breadcrumb& breadcrumb);
  void perform(Reducer::Signal signal);

  KeyEventMonitor& keyboard_;
  Executor& executor_;
  ErrorReporting* const reporting_;
  const Logging logging_;
  const Logger logger_;
  Reducer::State state_;
  bool isMonitoring_ = false;
  std::array<Executor::TimerId, timerKinds> timers_{};
  std::function<void()> onModifierDown_;
  std::function<void()> onModifierUp_;
  std::function<void()> onInterferenceDetected_;
};

}  // namespace quillmere
