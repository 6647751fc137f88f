#pragma once
#include <optional>

#include "base/async/Await.h"

namespace quillmere {
namespace detail {

template <typename T>
struct CompletionState {
  std::optional<std::conditional_t<std::is_void_v<T>, std::monostate, T>> value;
  bool isResolved = false;
  Strand* waiter = nullptr;
};

template <typename T>
class CompletionLeaf final : public Leaf {
 public:
  CompletionLeaf(std::shared_ptr<CompletionState<T>> state, std::function<void()> onCancel)
      : state_(std::move(state)), onCancel_(std::move(onCancel)) {}
  CompletionLeaf(const CompletionLeaf&) = delete;
  CompletionLeaf& operator=(const CompletionLeaf&) = delete;
  ~CompletionLeaf() {
    if (isWaiting_) state_->waiter = nullptr;
  }
  bool await_ready() const noexcept { return false; }
  template <typename P>
  bool await_suspend(std::coroutine_handle<P> frame) {
    own_ = &strandOf(frame);
    if (state_->waiter) throw std::logic_error("a completion has one waiter at a time");
    if (own_->isCancelRequested() && !state_->isResolved) stop();
    if (own_->isCancelRequested() || state_->isResolved) return false;
    state_->waiter = own_;
    isWaiting_ = true;
    own_->park(frame, this);
    return true;
  }
  void await_resume() const {
    if (own_->isCancelRequested()) throw Cancelled{};
  }
  AfterStop stop() noexcept override {
    // The function may end the life of this object.
    if (auto onCancel = std::exchange(onCancel_, nullptr)) onCancel();
    return AfterStop::resumeNow;
  }

 private:
  std::shared_ptr<CompletionState<T>> state_;
  std::function<void()> onCancel_;
  Strand* own_ = nullptr;
  bool isWaiting_ = false;
};

template <typename T>
Task<T> waitForCompletion(std::shared_ptr<CompletionState<T>> state, std::function<void()> onCancel) {
  CompletionLeaf<T> leaf(state, std::move(onCancel));
  co_await leaf;
  if (!state->value) throw std::logic_error("the value of a completion was taken before");
  if constexpr (!std::is_void_v<T>) {
    T value = std::move(*state->value);
    state->value.reset();
    co_return value;
  }
}

}  // namespace detail

// A bridge from callbacks: one side resolves, one task waits. Copies share one state, so that a callback can keep its
// own copy and may come late, after the waiting task or its scope is gone. Executor's thread only; from another thread
// post a function that resolves. resolve() never runs the waiting task, it posts its resumption.
template <typename T = void>
class Completion {
 public:
  using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

  Completion() : state_(std::make_shared<detail::CompletionState<T>>()) {}

  // The first call counts; later ones are ignored and return false.
  bool resolve(Value value)
    requires(!std::is_void_v<T>)
  {
    if (state_->isResolved) return false;
    state_->value.emplace(std::move(value));
    return settle();
  }
  bool resolve()
    requires(std::is_void_v<T>)
  {
    if (state_->isResolved) return false;
    state_->value.emplace();
    return settle();
  }
  bool isResolved() const { return state_->isResolved; }

  // The value, moved out: one waiter at a time, one value altogether (std::logic_error otherwise). A cancel, also one
  // from before the wait, calls onCancel at once if nothing was resolved yet and throws Cancelled without waiting for
  // anything; so does scope death, without the throw. After a cancelled wait one may wait again.
  Task<T> wait(std::function<void()> onCancel = {}) {
    return detail::waitForCompletion<T>(state_, std::move(onCancel));
  }

 private:
  bool settle() {
    state_->isResolved = true;
    if (state_->waiter) state_->waiter->wake();
    return true;
  }
  std::shared_ptr<detail::CompletionState<T>> state_;
};

}  // namespace quillmere
