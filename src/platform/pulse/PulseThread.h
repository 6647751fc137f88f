#pragma once
#include <functional>
#include <mutex>
#include <vector>

struct pa_io_event;
struct pa_mainloop_api;
struct pa_threaded_mainloop;

namespace quillmere {

// The one thread on which libpulse runs. Work is handed over without taking the library's lock, so that the caller
// never waits for the sound server. Everything of libpulse is touched on this thread only, or after stop().
class PulseThread {
 public:
  PulseThread();
  PulseThread(const PulseThread&) = delete;
  PulseThread& operator=(const PulseThread&) = delete;
  ~PulseThread();

  pa_mainloop_api* api() const { return api_; }
  // Any thread. The work is done in order, soon; what has not begun at stop() is dropped.
  void run(std::function<void()> work);
  // Ends the thread and waits for it. Once.
  void stop();

 private:
  void runPosted();

  pa_threaded_mainloop* loop_ = nullptr;
  pa_mainloop_api* api_ = nullptr;
  pa_io_event* wakeEvent_ = nullptr;
  int wakeFd_ = -1;
  bool isStopped_ = false;
  std::mutex mutex_;
  std::vector<std::function<void()>> posted_;  // guarded by mutex_
};

}  // namespace quillmere
