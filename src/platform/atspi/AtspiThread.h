#pragma once
#include <QObject>
#include <QThread>
#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include "base/log/Logger.h"
#include "platform/atspi/AtspiBus.h"

namespace quillmere {

// The thread that talks to the accessibility bus. post() and isConnected() from any thread.
class AtspiThread {
 public:
  using Job = std::function<void(AtspiBus&)>;

  explicit AtspiThread(const Logging& logging);
  AtspiThread(const AtspiThread&) = delete;
  AtspiThread& operator=(const AtspiThread&) = delete;
  // Waits for the job under way, whose calls fail from now on; later ones are dropped.
  ~AtspiThread();

  // Jobs run one after another, connected when that is possible.
  void post(Job job);
  // As it was found last; looks again in the background.
  bool isConnected();
  const std::atomic<bool>& isEnding() const { return isEnding_; }

 private:
  void runJobs();

  std::atomic<bool> isEnding_ = false;
  std::atomic<bool> isConnected_ = false;
  std::atomic<bool> isLookingAgain_ = false;
  std::mutex mutex_;
  std::deque<Job> jobs_;  // guarded by mutex_
  QThread thread_;
  QObject* waker_;                 // lives on the thread
  std::unique_ptr<AtspiBus> bus_;  // the thread's own
};

}  // namespace quillmere
