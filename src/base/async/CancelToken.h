#pragma once
#include <functional>
#include <memory>

#include "base/Subscription.h"

namespace quillmere {

// Thrown out of co_await in a task that was cancelled. Control flow, not an error: let it pass, or catch it to put
// things right and throw it on.
struct Cancelled {};

namespace detail {
struct CancelState;
}

// Says whether somebody asked for an end. Cheap to copy; a token without a source is never cancelled.
// Executor's thread only (workers look at a StopFlag instead).
class CancelToken {
 public:
  CancelToken() = default;
  bool isCancelled() const;
  void throwIfCancelled() const {
    if (isCancelled()) throw Cancelled{};
  }
  // Calls the function once at the cancel, from inside cancel(); at once if that has already happened. Functions are
  // called in the order they were added; ending the subscription takes the function out, also from inside another one.
  Subscription onCancel(std::function<void()> function) const;

 private:
  friend class CancelSource;
  explicit CancelToken(std::shared_ptr<detail::CancelState> state) : state_(std::move(state)) {}
  std::shared_ptr<detail::CancelState> state_;
};

// The side that cancels. Destroying a source does not cancel.
class CancelSource {
 public:
  CancelSource();
  CancelToken token() const { return CancelToken(state_); }
  bool isCancelled() const;
  void cancel();

 private:
  std::shared_ptr<detail::CancelState> state_;
};

}  // namespace quillmere
