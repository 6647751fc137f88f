#pragma once
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

#include "base/async/Executor.h"

typedef struct _GMainContext GMainContext;
typedef struct _GMainLoop GMainLoop;
typedef struct _GSource GSource;

namespace quillmere {

// A thread with a GLib loop, as an executor: tasks run there side by side with the callbacks of GLib's libraries.
// Timers are good to a millisecond.
class GlibExecutor final : public Executor {
 public:
  GlibExecutor();
  GlibExecutor(const GlibExecutor&) = delete;
  GlibExecutor& operator=(const GlibExecutor&) = delete;
  ~GlibExecutor() override;

  // Runs the last function on the thread, then what GLib has left to do and, for 100 ms at most, as long as `isBusy`
  // says so; ends the thread. What is posted from then on is dropped. Once, before the destructor.
  void stop(std::function<void()> last, const std::function<bool()>& isBusy);

  void post(std::function<void()> function) override;
  TimePoint now() const override { return std::chrono::steady_clock::now(); }
  TimerId startTimer(Duration delay, std::function<void()> function) override;
  void cancelTimer(TimerId id) override;
  bool isCurrent() const override;

 private:
  bool runOnePosted();

  GMainContext* const context_;
  GMainLoop* const loop_;
  std::mutex mutex_;
  std::deque<std::function<void()>> posted_;  // guarded by mutex_
  struct Timer;
  std::map<TimerId, GSource*> timers_;
  TimerId lastTimer_ = 0;
  std::thread thread_;
};

}  // namespace quillmere
