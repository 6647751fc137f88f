#pragma once
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <unordered_map>

#include "base/async/Executor.h"

namespace quillmere {

// An executor with a virtual clock that the test moves. Posted functions run first, in the order they were posted; then
// timers by deadline and start order, and what each one posts before the next. post() and isCurrent() from any
// thread, the rest from the thread that made it. Exceptions that leave a function come out of the run functions.
class ManualExecutor final : public Executor {
 public:
  ManualExecutor();
  ~ManualExecutor() override;

  void post(std::function<void()> function) override;
  TimePoint now() const override;
  bool isCurrent() const override;
  TimerId startTimer(Duration delay, std::function<void()> function) override;
  void cancelTimer(TimerId id) override;
  void externalWorkStarted() override;
  void externalWorkEnded() override;

  // Runs what is queued and the timers that are due, until there are none. Does not wait for workers.
  void runReady();
  // The same, and waits for offloaded work and runs what it posts. Work that never returns by itself: use runReady().
  void runUntilIdle();
  // Moves the clock on, firing what becomes due at its own time. Runs what is ready before and after; does not wait for
  // workers.
  void advance(Duration duration);
  // Runs until the condition holds: what is ready, then workers, then the clock jumps to the next timer.
  // Throws std::logic_error when nothing is left that could make it hold.
  void runUntil(const std::function<bool()>& condition);
  // Runs exactly one queued function or one due timer. False: there was none.
  bool runOne();

  // Something is queued, a timer runs or a worker works.
  bool hasWork() const;
  size_t timerCount() const { return timers_.size(); }
  size_t queuedCount() const;
  size_t externalWorkCount() const;

 private:
  struct TimerKey {
    TimePoint deadline;
    TimerId id;
    auto operator<=>(const TimerKey&) const = default;
  };

  bool runPosted();
  bool runDueTimer();
  void waitForPost();
  void checkThread() const;

  const std::thread::id thread_;
  mutable std::mutex mutex_;
  std::condition_variable isPosted_;
  std::deque<std::function<void()>> posted_;  // guarded by mutex_
  size_t externalWork_ = 0;                   // guarded by mutex_
  TimePoint now_;                             // guarded by mutex_

  std::map<TimerKey, std::function<void()>> timers_;
  std::unordered_map<TimerId, TimePoint> deadlines_;
  TimerId lastId_ = 0;
};

}  // namespace quillmere
