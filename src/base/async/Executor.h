#pragma once
#include <QtGlobal>
#include <chrono>
#include <functional>
#include <source_location>

#include "base/OwnThread.h"

namespace quillmere {

using Duration = std::chrono::nanoseconds;
using TimePoint = std::chrono::time_point<std::chrono::steady_clock, Duration>;

// The main thread as tasks see it: a queue of functions and a clock with timers.
// post(), now() and isCurrent() may be called from any thread; everything else from the executor's own thread only.
// Functions run one after another on that thread, never from inside post() or startTimer(). Posted functions run in
// the order they were posted, timers by deadline, then in the order they were started. What a timer posts runs before
// the next timer. An exception that leaves a function is a bug and ends the program (a test executor rethrows it).
// An executor outlives every TaskScope and WorkerPool that uses it; what is still queued at its end is dropped.
class Executor {
 public:
  using TimerId = quint64;  // never 0

  virtual ~Executor() = default;
  virtual void post(std::function<void()> function) = 0;
  virtual TimePoint now() const = 0;
  // Whether the calling thread is the executor's own.
  virtual bool isCurrent() const = 0;
  // Calls the function once, `delay` or a little more from now; a delay of zero or less means as soon as possible.
  virtual TimerId startTimer(Duration delay, std::function<void()> function) = 0;
  // After this the function does not run. Unknown, fired and cancelled ids are ignored.
  virtual void cancelTimer(TimerId id) = 0;

  // Brackets work on other threads whose end will be posted here. A virtual clock stands still meanwhile.
  virtual void externalWorkStarted() {}
  virtual void externalWorkEnded() {}
};

// For the constructors and entries of what says "Main thread": a call from another thread is a bug and throws
// std::logic_error, which names the place. Nothing is checked in builds without assertions (NDEBUG).
inline void assertCurrent([[maybe_unused]] const Executor& executor,
                          [[maybe_unused]] const std::source_location& where = std::source_location::current()) {
#ifndef NDEBUG
  if (!executor.isCurrent()) detail::refuseThread(where);
#endif
}

}  // namespace quillmere
