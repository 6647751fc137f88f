#include "base/async/Strand.h"

namespace quillmere::detail {

void Strand::start() {
  assertCurrent(executor_);
  isWakePosted_ = true;
  executor_.post([self = shared_from_this()] { self->run(); });
}

void Strand::cancel() {
  assertCurrent(executor_);
  if (isOver_ || isKilled_ || cancel_.isCancelled()) return;
  const auto self = shared_from_this();
  cancel_.cancel();
  if (isOver_ || isKilled_ || !leaf_ || isWakePosted_) return;
  isStopCalled_ = true;
  if (leaf_->stop() == Leaf::AfterStop::resumeNow) wake();
}

void Strand::kill() {
  assertCurrent(executor_);
  if (isOver_ || isKilled_) return;
  const auto self = shared_from_this();
  isKilled_ = true;
  cancel_.cancel();
  if (!isRunning_) tearDown();
}

void Strand::tearDown() {
  if (isOver_) return;
  if (leaf_ && !isWakePosted_ && !isStopCalled_) {
    isStopCalled_ = true;
    leaf_->stop();
  }
  isOver_ = true;
  leaf_ = nullptr;
  parked_ = nullptr;
  setCancelledOutcome();
  destroyFrames();
  notifyOver();
}

void Strand::wake() {
  assertCurrent(executor_);
  if (isOver_ || isKilled_ || !parked_ || isWakePosted_) return;
  isWakePosted_ = true;
  executor_.post([self = shared_from_this()] { self->run(); });
}

void Strand::run() {
  if (isOver_ || isKilled_) return;
  isWakePosted_ = false;
  leaf_ = nullptr;
  if (isStarted_) {
    next_ = std::exchange(parked_, nullptr);
  } else {
    isStarted_ = true;
    if (isCancelRequested()) {
      tearDown();
      return;
    }
    next_ = prepareRoot();
  }

  isRunning_ = true;
  while (next_ && !isKilled_) std::exchange(next_, nullptr).resume();
  isRunning_ = false;

  if (isKilled_) {
    tearDown();
  } else if (!parked_) {
    collectOutcome();
    isOver_ = true;
    destroyFrames();
    notifyOver();
  }
}

void Strand::notifyOver() {
  if (!isClaimed_) reportFailure();
  if (auto* joiner = std::exchange(joiner_, nullptr)) joiner->wake();
  if (auto onOver = std::exchange(onOver_, nullptr)) onOver();
}

void Strand::releaseClaim() {
  isClaimed_ = false;
  if (isOver_) reportFailure();
}

void Strand::reportFailure() {
  if (auto thrown = failure()) executor_.post([thrown] { std::rethrow_exception(thrown); });
}

}  // namespace quillmere::detail
