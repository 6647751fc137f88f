#include "base/async/WorkerPool.h"

#include <pthread.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace quillmere {
namespace detail {

class WorkerQueue {
 public:
  void submit(std::shared_ptr<WorkerJob> job) {
    {
      const std::lock_guard lock(mutex_);
      if (!isClosed_) {
        waiting_.push_back(std::move(job));
        hasWork_.notify_one();
        return;
      }
    }
    auto* const dropped = job.get();
    dropped->dropped(std::move(job));
  }

  bool withdraw(const std::shared_ptr<WorkerJob>& job) {
    const std::lock_guard lock(mutex_);
    return std::erase(waiting_, job) > 0;
  }

  void work() {
    for (;;) {
      std::shared_ptr<WorkerJob> job;
      {
        std::unique_lock lock(mutex_);
        hasWork_.wait(lock, [this] { return isClosed_ || !waiting_.empty(); });
        if (waiting_.empty()) return;
        job = std::move(waiting_.front());
        waiting_.pop_front();
        running_.push_back(job.get());
      }
      job->execute();
      {
        const std::lock_guard lock(mutex_);
        std::erase(running_, job.get());
      }
      auto* const finished = job.get();
      finished->finished(std::move(job));
    }
  }

  void close() {
    std::deque<std::shared_ptr<WorkerJob>> dropped;
    {
      const std::lock_guard lock(mutex_);
      isClosed_ = true;
      dropped.swap(waiting_);
      for (auto* job : running_) job->stopFlag.set();
    }
    hasWork_.notify_all();
    for (auto& job : dropped) {
      job->stopFlag.set();
      auto* const raw = job.get();
      raw->dropped(std::move(job));
    }
  }

 private:
  std::mutex mutex_;
  std::condition_variable hasWork_;
  std::deque<std::shared_ptr<WorkerJob>> waiting_;
  std::vector<WorkerJob*> running_;
  bool isClosed_ = false;
};

void submitJob(const std::shared_ptr<WorkerQueue>& queue, std::shared_ptr<WorkerJob> job) {
  queue->submit(std::move(job));
}

bool withdrawJob(const std::shared_ptr<WorkerQueue>& queue, const std::shared_ptr<WorkerJob>& job) {
  return queue->withdraw(job);
}

}  // namespace detail

WorkerPool::WorkerPool(int threads, QString name) : queue_(std::make_shared<detail::WorkerQueue>()) {
  const QByteArray shortName = name.toUtf8().left(15);
  const int count = std::max(1, threads);
  threads_.reserve(size_t(count));
  for (int i = 0; i < count; ++i) {
    threads_.emplace_back([queue = queue_] { queue->work(); });
    if (!shortName.isEmpty()) pthread_setname_np(threads_.back().native_handle(), shortName.constData());
  }
}

WorkerPool::~WorkerPool() {
  queue_->close();
  for (auto& thread : threads_) thread.join();
}

}  // namespace quillmere
