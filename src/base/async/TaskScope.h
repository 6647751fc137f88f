#pragma once
#include <map>
#include <vector>

#include "base/async/Await.h"

namespace quillmere {

namespace detail {

// The right to hear how a strand ended. Given up unused, an exception goes to the executor's loop instead.
class Claim {
 public:
  Claim() = default;
  explicit Claim(std::shared_ptr<Strand> strand) : strand_(std::move(strand)) { strand_->claim(); }
  Claim(Claim&& other) noexcept = default;
  Claim& operator=(Claim&& other) noexcept {
    if (this != &other) {
      release();
      strand_ = std::move(other.strand_);
    }
    return *this;
  }
  ~Claim() { release(); }
  explicit operator bool() const { return strand_ != nullptr; }
  void used() { strand_.reset(); }

 private:
  void release() {
    if (auto strand = std::exchange(strand_, nullptr)) strand->releaseClaim();
  }
  std::shared_ptr<Strand> strand_;
};

// Waits for the end of another strand; cancelling the waiter cancels that one and goes on waiting. Does not throw.
class JoinLeaf final : public Leaf {
 public:
  explicit JoinLeaf(Strand& target) : target_(target) {}
  JoinLeaf(const JoinLeaf&) = delete;
  JoinLeaf& operator=(const JoinLeaf&) = delete;
  ~JoinLeaf() {
    if (own_ && target_.joiner() == own_) target_.setJoiner(nullptr);
  }
  bool await_ready() const noexcept { return false; }
  template <typename P>
  bool await_suspend(std::coroutine_handle<P> frame) {
    own_ = &strandOf(frame);
    if (own_ == &target_) throw std::logic_error("a task cannot join itself");
    if (own_->isCancelRequested()) target_.cancel();
    if (target_.isOver()) return false;
    target_.setJoiner(own_);
    own_->park(frame, this);
    return true;
  }
  // Whether the joining task was cancelled meanwhile.
  bool await_resume() const noexcept { return own_->isCancelRequested(); }
  AfterStop stop() noexcept override {
    target_.cancel();
    return AfterStop::resumeAtEnd;
  }

 private:
  Strand& target_;
  Strand* own_ = nullptr;
};

template <typename T>
Task<T> joinStrand(std::shared_ptr<StrandOf<T>> strand, Claim claim) {
  JoinLeaf leaf(*strand);
  const bool isCancelled = co_await leaf;
  claim.used();
  if (isCancelled && !strand->outcome().exception()) throw Cancelled{};
  co_return strand->outcome().take();
}

}  // namespace detail

// One task spawned in a TaskScope. Move-only. Letting go of the handle neither cancels nor ends the task: its scope
// owns it. Executor's thread only. Usable after the scope's death (the task then counts as done and cancelled).
template <typename T = void>
class TaskHandle {
 public:
  TaskHandle() = default;
  explicit TaskHandle(std::shared_ptr<detail::StrandOf<T>> strand) : strand_(std::move(strand)), claim_(strand_) {}

  bool isValid() const { return strand_ != nullptr; }
  bool isDone() const { return strand_ && strand_->isOver(); }
  // Nothing happens when the task is done. A task that has not begun never runs a line.
  void cancel() {
    if (auto strand = strand_) strand->cancel();
  }
  // The value, or throws what ended the task. Cancelling the joiner cancels the task, waits for its end, then throws
  // Cancelled; the death of the joiner's scope cancels the task too. Once a handle (std::logic_error otherwise); the
  // result is moved out. Needs this handle only for the call.
  Task<T> join() {
    if (!claim_) throw std::logic_error("a task can be joined once");
    return detail::joinStrand<T>(strand_, std::move(claim_));
  }

 private:
  std::shared_ptr<detail::StrandOf<T>> strand_;
  detail::Claim claim_;
};

// Owns the root tasks of a service. Its death cancels them and destroys their frames: the stop function of what each
// waits for runs, then the destructors of its locals; no line of a task runs after that, shielded or not. A task may
// destroy its own scope: it then ends at its next co_await. Declare the scope last in the owning class, so that it dies
// first. Executor's thread only; the executor outlives the scope.
// An exception that leaves a task which nobody joins is thrown in the executor's loop. Cancelled is not.
class TaskScope {
 public:
  explicit TaskScope(Executor& executor) : executor_(executor) { assertCurrent(executor); }
  TaskScope(const TaskScope&) = delete;
  TaskScope& operator=(const TaskScope&) = delete;
  ~TaskScope();

  // The task begins in a later turn of the executor; tasks begin in the order they were spawned.
  template <typename T>
  TaskHandle<T> spawn(Task<T> task) {
    auto strand = std::make_shared<detail::StrandOf<T>>(executor_, std::move(task));
    TaskHandle<T> handle(strand);
    adopt(std::move(strand));
    return handle;
  }
  // Cancels what runs now; tasks spawned later are not touched.
  void cancelAll();
  // True when every spawned task has ended.
  bool isIdle() const { return strands_.empty(); }
  Executor& executor() const { return executor_; }

 private:
  void adopt(std::shared_ptr<detail::Strand> strand);

  Executor& executor_;
  std::map<quint64, std::shared_ptr<detail::Strand>> strands_;
  quint64 nextNumber_ = 1;
  bool isClosed_ = false;
};

}  // namespace quillmere
