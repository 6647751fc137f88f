#pragma once
#include <functional>
#include <optional>

#include "base/async/Await.h"
#include "base/async/WorkerPool.h"

namespace quillmere {
namespace detail {

template <typename R>
class OffloadJobOf : public WorkerJob {
 public:
  // Executor's thread only.
  Executor* executor = nullptr;
  Strand* waiter = nullptr;

  // Written by the worker, read after delivery.
  Outcome<R> outcome;

  void finished(std::shared_ptr<WorkerJob> self) override { post(std::move(self)); }
  void dropped(std::shared_ptr<WorkerJob> self) override {
    outcome.setCancelled();
    post(std::move(self));
  }

 private:
  void post(std::shared_ptr<WorkerJob> self) {
    Executor* const target = executor;
    target->post([job = std::static_pointer_cast<OffloadJobOf>(std::move(self))] { job->deliver(); });
  }
  void deliver() {
    executor->externalWorkEnded();
    if (waiter)
      waiter->wake();
    else if (auto failure = outcome.exception())
      std::rethrow_exception(failure);
  }
};

template <typename F, typename R>
class OffloadJob final : public OffloadJobOf<R> {
 public:
  explicit OffloadJob(F function) : function_(std::move(function)) {}
  void execute() noexcept override {
    const StopFlag& stop = this->stopFlag;
    try {
      if constexpr (std::is_void_v<R>) {
        std::invoke(*function_, stop);
        this->outcome.setValue();
      } else {
        this->outcome.setValue(std::invoke(*function_, stop));
      }
    } catch (...) {
      this->outcome.setCurrentException();
    }
    function_.reset();
  }

 private:
  std::optional<F> function_;
};

template <typename R>
class OffloadLeaf final : public Leaf {
 public:
  OffloadLeaf(std::shared_ptr<WorkerQueue> queue, std::shared_ptr<OffloadJobOf<R>> job)
      : queue_(std::move(queue)), job_(std::move(job)) {}
  OffloadLeaf(const OffloadLeaf&) = delete;
  OffloadLeaf& operator=(const OffloadLeaf&) = delete;
  ~OffloadLeaf() { job_->waiter = nullptr; }
  bool await_ready() const noexcept { return false; }
  template <typename P>
  bool await_suspend(std::coroutine_handle<P> frame) {
    own_ = &strandOf(frame);
    if (own_->isCancelRequested()) return false;
    job_->executor = &own_->executor();
    job_->waiter = own_;
    own_->park(frame, this);
    job_->executor->externalWorkStarted();
    submitJob(queue_, job_);
    return true;
  }
  void await_resume() const {
    if (auto failure = job_->outcome.exception()) std::rethrow_exception(failure);
    if (own_->isCancelRequested()) throw Cancelled{};
  }
  AfterStop stop() noexcept override {
    job_->stopFlag.set();
    if (!withdrawJob(queue_, job_)) return AfterStop::resumeAtEnd;
    job_->executor->externalWorkEnded();
    return AfterStop::resumeNow;
  }

 private:
  std::shared_ptr<WorkerQueue> queue_;
  std::shared_ptr<OffloadJobOf<R>> job_;
  Strand* own_ = nullptr;
};

template <typename R>
Task<R> awaitJob(std::shared_ptr<WorkerQueue> queue, std::shared_ptr<OffloadJobOf<R>> job) {
  OffloadLeaf<R> leaf(std::move(queue), job);
  co_await leaf;
  co_return job->outcome.take();
}

}  // namespace detail

// Runs f(stopFlag) on a worker and hands its result back through the executor. f must own what it uses: it may outlive
// the task. It is destroyed on the worker before the result is handed over (on the main thread if it never began); the
// result always dies on the executor's thread. A cancel sets the stop flag, waits for f to return and then throws
// Cancelled; an f that has not begun is not called. Scope death sets the flag and does not wait. An exception that
// leaves f comes out of the await.
template <typename F>
auto offload(WorkerPool& pool, F f) -> Task<std::invoke_result_t<F&, const StopFlag&>> {
  using R = std::invoke_result_t<F&, const StopFlag&>;
  std::shared_ptr<detail::OffloadJobOf<R>> job = std::make_shared<detail::OffloadJob<F, R>>(std::move(f));
  return detail::awaitJob<R>(pool.queue(), std::move(job));
}

}  // namespace quillmere
