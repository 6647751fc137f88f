#pragma once
#include <QString>
#include <memory>
#include <thread>
#include <vector>

#include "base/async/StopFlag.h"

namespace quillmere {
namespace detail {

// One piece of work for a pool. execute() runs on a worker; then one of the two ends is called with the last reference
// the pool holds: finished() on the worker, dropped() on the thread that destroys the pool, if it never began.
class WorkerJob {
 public:
  virtual ~WorkerJob() = default;
  virtual void execute() noexcept = 0;
  virtual void finished(std::shared_ptr<WorkerJob> self) = 0;
  virtual void dropped(std::shared_ptr<WorkerJob> self) = 0;
  StopFlag stopFlag;
};

class WorkerQueue;

}  // namespace detail

// Threads for work that blocks or computes; see offload(). Jobs begin in the order they were handed in.
// The destructor sets the stop flag of every job, drops those that have not begun (their tasks see Cancelled) and joins
// the threads, so it takes as long as the running jobs need to notice. The executors of waiting tasks outlive the pool.
class WorkerPool {
 public:
  // The name is seen in debuggers (at most 15 bytes of it).
  explicit WorkerPool(int threads, QString name = {});
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;
  ~WorkerPool();

  int threadCount() const { return int(threads_.size()); }
  const std::shared_ptr<detail::WorkerQueue>& queue() const { return queue_; }

 private:
  std::shared_ptr<detail::WorkerQueue> queue_;
  std::vector<std::thread> threads_;
};

namespace detail {

void submitJob(const std::shared_ptr<WorkerQueue>& queue, std::shared_ptr<WorkerJob> job);
// Takes a job back that has not begun. False: it has.
bool withdrawJob(const std::shared_ptr<WorkerQueue>& queue, const std::shared_ptr<WorkerJob>& job);

}  // namespace detail
}  // namespace quillmere
