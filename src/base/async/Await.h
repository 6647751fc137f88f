#pragma once
#include "base/async/Task.h"

namespace quillmere {
namespace detail {

struct ExecutorAwaiter {
  bool await_ready() const noexcept { return false; }
  template <typename P>
  bool await_suspend(std::coroutine_handle<P> frame) noexcept {
    strand = &strandOf(frame);
    return false;
  }
  Executor& await_resume() const noexcept { return strand->executor(); }
  Strand* strand = nullptr;
};

struct TokenAwaiter {
  bool await_ready() const noexcept { return false; }
  template <typename P>
  bool await_suspend(std::coroutine_handle<P> frame) noexcept {
    strand = &strandOf(frame);
    return false;
  }
  CancelToken await_resume() const noexcept { return strand->token(); }
  Strand* strand = nullptr;
};

struct CheckAwaiter {
  bool await_ready() const noexcept { return false; }
  template <typename P>
  bool await_suspend(std::coroutine_handle<P> frame) noexcept {
    strand = &strandOf(frame);
    return false;
  }
  void await_resume() const {
    if (strand->isCancelRequested()) throw Cancelled{};
  }
  Strand* strand = nullptr;
};

}  // namespace detail

// co_await currentExecutor() -> Executor&: the executor this task runs on. Never suspends.
inline detail::ExecutorAwaiter currentExecutor() {
  return {};
}

// co_await currentCancelToken() -> CancelToken: this task's own token. Never suspends, never throws.
inline detail::TokenAwaiter currentCancelToken() {
  return {};
}

// co_await throwIfCancelled(): throws Cancelled in a cancelled task. Never suspends. For long stretches without waits.
inline detail::CheckAwaiter throwIfCancelled() {
  return {};
}

// Waits for the time to pass; at least one turn of the executor, also for zero and less.
Task<void> sleepFor(Duration duration);

// Lets everything that is queued run first.
Task<void> yieldNow();

}  // namespace quillmere
