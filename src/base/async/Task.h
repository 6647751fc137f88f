#pragma once
#include <stdexcept>

#include "base/async/Strand.h"

namespace quillmere {

template <typename T>
class Task;

namespace detail {

template <typename T>
struct TaskPromise final : PromiseBase {
  Task<T> get_return_object();
  void return_value(T value) { outcome.setValue(std::move(value)); }
  void unhandled_exception() noexcept { outcome.setCurrentException(); }
  Outcome<T> outcome;
};

template <>
struct TaskPromise<void> final : PromiseBase {
  Task<void> get_return_object();
  void return_void() { outcome.setValue(); }
  void unhandled_exception() noexcept { outcome.setCurrentException(); }
  Outcome<void> outcome;
};

template <typename T>
class StrandOf;

}  // namespace detail

// A coroutine that ends with a T. Lazy: nothing runs before it is awaited (`co_await std::move(task)`, once) or given
// to TaskScope::spawn. An awaited child runs as part of its parent: same executor, same cancel token. Awaiting a child
// of a cancelled task still runs the child up to its own first wait, which throws Cancelled.
// Ownership: the task owns the coroutine's frame and its arguments; destroying it, awaited or not, destroys them. The
// frame of an awaited task is gone when the co_await is over. Pass arguments that must outlive a wait by value.
// Executor's thread only. An exception (a bug) passes through every awaiting frame.
template <typename T = void>
class [[nodiscard]] Task {
 public:
  using promise_type = detail::TaskPromise<T>;

  Task() = default;
  Task(Task&& other) noexcept : frame_(std::exchange(other.frame_, nullptr)) {}
  Task& operator=(Task&& other) noexcept {
    if (this != &other) {
      destroy();
      frame_ = std::exchange(other.frame_, nullptr);
    }
    return *this;
  }
  ~Task() { destroy(); }

  // False once it was awaited, spawned or moved from.
  bool isValid() const { return frame_ && !frame_.promise().strand; }

  class Awaiter {
   public:
    explicit Awaiter(Task& task) : task_(task) {}
    bool await_ready() const noexcept { return false; }
    template <typename P>
    bool await_suspend(std::coroutine_handle<P> parent) noexcept {
      detail::Strand& strand = detail::strandOf(parent);
      task_.frame_.promise().strand = &strand;
      task_.frame_.promise().continuation = parent;
      strand.runNext(task_.frame_);
      return true;
    }
    T await_resume() {
      detail::Outcome<T> outcome = std::move(task_.frame_.promise().outcome);
      task_.destroy();
      return outcome.take();
    }

   private:
    Task& task_;
  };

  Awaiter operator co_await() && {
    if (!isValid()) throw std::logic_error("a task can be awaited once");
    return Awaiter(*this);
  }

 private:
  friend promise_type;
  friend class detail::StrandOf<T>;
  explicit Task(std::coroutine_handle<promise_type> frame) : frame_(frame) {}
  void destroy() {
    if (auto frame = std::exchange(frame_, nullptr)) frame.destroy();
  }

  std::coroutine_handle<promise_type> frame_;
};

namespace detail {

template <typename T>
Task<T> TaskPromise<T>::get_return_object() {
  return Task<T>(std::coroutine_handle<TaskPromise<T>>::from_promise(*this));
}

inline Task<void> TaskPromise<void>::get_return_object() {
  return Task<void>(std::coroutine_handle<TaskPromise<void>>::from_promise(*this));
}

// A strand whose first frame is a Task<T>.
template <typename T>
class StrandOf final : public Strand {
 public:
  StrandOf(Executor& executor, Task<T> task) : Strand(executor), task_(std::move(task)) {
    if (!task_.isValid()) throw std::logic_error("a task can be started once");
  }
  Outcome<T>& outcome() { return outcome_; }
  bool hasEndedWithValue() const override { return isOver() && outcome_.hasValue(); }
  std::exception_ptr failure() const override { return outcome_.exception(); }

 private:
  std::coroutine_handle<> prepareRoot() override {
    task_.frame_.promise().strand = this;
    return task_.frame_;
  }
  void collectOutcome() override { outcome_.takeOver(task_.frame_.promise().outcome); }
  void setCancelledOutcome() override { outcome_.setCancelled(); }
  void destroyFrames() override { task_.destroy(); }

  Task<T> task_;
  Outcome<T> outcome_;
};

}  // namespace detail
}  // namespace quillmere
