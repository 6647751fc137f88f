#pragma once
#include <QSocketNotifier>
#include <deque>
#include <map>
#include <mutex>
#include <thread>
#include <unordered_map>

#include "base/async/Executor.h"

namespace quillmere {

// The executor of a thread that runs a Qt event loop, the main thread as a rule. Construct and destroy it on that
// thread, after the QCoreApplication is there and before it goes. post(), now() and isCurrent() from any thread; timers
// from the own thread only. Works inside nested event loops. Functions queued while a turn runs come in a later turn,
// between which Qt's other events get their share. Timers never fire early; a late loop still runs them in order.
// An exception out of a function: a message on standard error and std::terminate.
class QtExecutor final : public Executor {
 public:
  QtExecutor();
  QtExecutor(const QtExecutor&) = delete;
  QtExecutor& operator=(const QtExecutor&) = delete;
  ~QtExecutor() override;

  void post(std::function<void()> function) override;
  TimePoint now() const override;
  bool isCurrent() const override;
  TimerId startTimer(Duration delay, std::function<void()> function) override;
  void cancelTimer(TimerId id) override;

 private:
  struct TimerKey {
    TimePoint deadline;
    TimerId id;
    auto operator<=>(const TimerKey&) const = default;
  };

  bool runOnePosted();
  void runPosted();
  void fireTimers();
  void armTimer();

  const std::thread::id thread_;
  const int wakeFd_;
  const int timerFd_;
  QSocketNotifier wakeNotifier_;
  QSocketNotifier timerNotifier_;

  std::mutex mutex_;
  std::deque<std::function<void()>> posted_;  // guarded by mutex_

  std::map<TimerKey, std::function<void()>> timers_;
  std::unordered_map<TimerId, TimePoint> deadlines_;
  TimerId lastId_ = 0;
};

}  // namespace quillmere
