#include "base/async/Await.h"

namespace quillmere {
namespace {

class SleepLeaf final : public detail::Leaf {
 public:
  explicit SleepLeaf(Duration duration) : duration_(duration) {}
  SleepLeaf(const SleepLeaf&) = delete;
  SleepLeaf& operator=(const SleepLeaf&) = delete;
  ~SleepLeaf() { cancelTimer(); }
  bool await_ready() const noexcept { return false; }
  template <typename P>
  bool await_suspend(std::coroutine_handle<P> frame) {
    own_ = &detail::strandOf(frame);
    if (own_->isCancelRequested()) return false;
    own_->park(frame, this);
    timer_ = own_->executor().startTimer(duration_, [this] {
      timer_ = 0;
      own_->wake();
    });
    return true;
  }
  void await_resume() const {
    if (own_->isCancelRequested()) throw Cancelled{};
  }
  AfterStop stop() noexcept override {
    cancelTimer();
    return AfterStop::resumeNow;
  }

 private:
  void cancelTimer() {
    if (const auto timer = std::exchange(timer_, 0)) own_->executor().cancelTimer(timer);
  }

  Duration duration_;
  detail::Strand* own_ = nullptr;
  Executor::TimerId timer_ = 0;
};

class YieldLeaf final : public detail::Leaf {
 public:
  bool await_ready() const noexcept { return false; }
  template <typename P>
  bool await_suspend(std::coroutine_handle<P> frame) {
    own_ = &detail::strandOf(frame);
    if (own_->isCancelRequested()) return false;
    own_->park(frame, this);
    own_->wake();
    return true;
  }
  void await_resume() const {
    if (own_->isCancelRequested()) throw Cancelled{};
  }
  AfterStop stop() noexcept override { return AfterStop::resumeNow; }

 private:
  detail::Strand* own_ = nullptr;
};

}  // namespace

Task<void> sleepFor(Duration duration) {
  SleepLeaf leaf(duration);
  co_await leaf;
}

Task<void> yieldNow() {
  YieldLeaf leaf;
  co_await leaf;
}

}  // namespace quillmere
