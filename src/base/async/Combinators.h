#pragma once
#include <optional>
#include <tuple>
#include <vector>

#include "base/async/Await.h"

namespace quillmere {
namespace detail {

// Strands that live inside one awaiting frame and end with it.
class ChildStrands final : public Leaf {
 public:
  enum class OnCancel { cancelChildren, leaveAlone };
  explicit ChildStrands(OnCancel onCancel = OnCancel::cancelChildren) : onCancel_(onCancel) {}
  ChildStrands(const ChildStrands&) = delete;
  ChildStrands& operator=(const ChildStrands&) = delete;
  ~ChildStrands();

  template <typename T>
  std::shared_ptr<StrandOf<T>> add(Executor& executor, Task<T> task) {
    auto strand = std::make_shared<StrandOf<T>>(executor, std::move(task));
    addStrand(strand);
    return strand;
  }
  void cancelAll();
  bool areOver() const { return running_ == 0; }

  // Starts the children and waits until all have ended; one that ends without a value cancels the others. Throws the
  // first exception that ended a child, else Cancelled if the awaiting task was cancelled.
  bool await_ready() const noexcept { return false; }
  template <typename P>
  bool await_suspend(std::coroutine_handle<P> frame) {
    own_ = &strandOf(frame);
    if (children_.empty()) return false;
    own_->park(frame, this);
    startAll();
    return true;
  }
  void await_resume() const {
    if (failure_) std::rethrow_exception(failure_);
    if (own_->isCancelRequested()) throw Cancelled{};
  }
  AfterStop stop() noexcept override;

 private:
  void addStrand(std::shared_ptr<Strand> strand);
  void startAll();
  void childOver(const Strand& child);

  OnCancel onCancel_;
  std::vector<std::shared_ptr<Strand>> children_;
  size_t running_ = 0;
  std::exception_ptr failure_;
  Strand* own_ = nullptr;
};

// A timer that is cancelled when it goes out of scope.
class ScopedTimer {
 public:
  ScopedTimer(Executor& executor, Duration delay, std::function<void()> function);
  ScopedTimer(const ScopedTimer&) = delete;
  ScopedTimer& operator=(const ScopedTimer&) = delete;
  ~ScopedTimer() { cancel(); }
  void cancel() {
    if (const auto id = std::exchange(id_, 0)) executor_.cancelTimer(id);
  }

 private:
  Executor& executor_;
  Executor::TimerId id_;
};

// Runs the strand until it ends or the time is up; then cancels it and waits for its end. True: it ended in time.
Task<bool> endsWithin(Duration limit, ChildStrands& children);

}  // namespace detail

// Below: every child runs as a task of its own with its own cancel token, begins in a later turn of the executor, and
// has ended when the await is over, however that ends. Awaited in a task that is already cancelled, withTimeout and
// whenAll throw Cancelled without beginning a child. Scope death destroys children with the awaiting frame.

// The task's value, or nothing when the time was up first: then the task is cancelled and its end awaited (whatever it
// is, unless an exception). The clock starts at the await. Timers of one deadline fire in the order they were started,
// so a task that merely sleeps as long as the limit times out.
template <typename T>
  requires(!std::is_void_v<T>)
Task<std::optional<T>> withTimeout(Duration limit, Task<T> task) {
  co_await throwIfCancelled();
  Executor& executor = co_await currentExecutor();
  detail::ChildStrands children;
  auto child = children.add(executor, std::move(task));
  const bool isInTime = co_await detail::endsWithin(limit, children);
  if (!isInTime) co_return std::nullopt;
  co_return child->outcome().take();
}

// True when the task ended in time.
inline Task<bool> withTimeout(Duration limit, Task<void> task) {
  co_await throwIfCancelled();
  Executor& executor = co_await currentExecutor();
  detail::ChildStrands children;
  auto child = children.add(executor, std::move(task));
  const bool isInTime = co_await detail::endsWithin(limit, children);
  if (isInTime) child->outcome().take();
  co_return isInTime;
}

// Runs the tasks side by side; the values in the order of the tasks. When one ends with an exception or Cancelled the
// others are cancelled, and that is thrown once all have ended (exceptions first).
template <typename T>
  requires(!std::is_void_v<T>)
Task<std::vector<T>> whenAll(std::vector<Task<T>> tasks) {
  co_await throwIfCancelled();
  Executor& executor = co_await currentExecutor();
  detail::ChildStrands children;
  std::vector<std::shared_ptr<detail::StrandOf<T>>> strands;
  strands.reserve(tasks.size());
  for (auto& task : tasks) strands.push_back(children.add(executor, std::move(task)));
  co_await children;
  std::vector<T> values;
  values.reserve(strands.size());
  for (auto& strand : strands) values.push_back(strand->outcome().take());
  co_return values;
}

inline Task<void> whenAll(std::vector<Task<void>> tasks) {
  co_await throwIfCancelled();
  Executor& executor = co_await currentExecutor();
  detail::ChildStrands children;
  std::vector<std::shared_ptr<detail::StrandOf<void>>> strands;
  for (auto& task : tasks) strands.push_back(children.add(executor, std::move(task)));
  co_await children;
  for (auto& strand : strands) strand->outcome().take();
}

template <typename A, typename B>
Task<std::tuple<A, B>> whenAll(Task<A> first, Task<B> second) {
  co_await throwIfCancelled();
  Executor& executor = co_await currentExecutor();
  detail::ChildStrands children;
  auto a = children.add(executor, std::move(first));
  auto b = children.add(executor, std::move(second));
  co_await children;
  A valueA = a->outcome().take();
  B valueB = b->outcome().take();
  co_return std::tuple<A, B>(std::move(valueA), std::move(valueB));
}

// Runs the task to its end whatever happens to the one who awaits: a cancel waits for that end and throws Cancelled
// then. In a task that is already cancelled the child still runs, so it serves for putting things right.
template <typename T>
Task<T> shielded(Task<T> task) {
  Executor& executor = co_await currentExecutor();
  detail::ChildStrands children(detail::ChildStrands::OnCancel::leaveAlone);
  auto child = children.add(executor, std::move(task));
  co_await children;
  co_return child->outcome().take();
}

}  // namespace quillmere
