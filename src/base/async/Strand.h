#pragma once
#include <coroutine>
#include <exception>
#include <functional>
#include <memory>
#include <utility>
#include <variant>

#include "base/async/CancelToken.h"
#include "base/async/Executor.h"

// The machinery under Task. Code outside base/async has no use for it.
namespace quillmere::detail {

// What a suspended strand waits for.
class Leaf {
 public:
  enum class AfterStop {
    resumeNow,   // the wait is over; the strand posts the resumption
    resumeAtEnd  // what was waited for ends soon and then calls wake() as usual
  };
  // Called at most once a wait, when the strand is cancelled or destroyed meanwhile. May destroy the leaf.
  virtual AfterStop stop() noexcept = 0;

 protected:
  ~Leaf() = default;
};

// The end of a task: nothing yet, a value, Cancelled, or an exception.
template <typename T>
class Outcome {
 public:
  template <typename... A>
  void setValue(A&&... value) {
    content_.template emplace<1>(std::forward<A>(value)...);
  }
  void setCancelled() { content_.template emplace<2>(); }
  // Call inside a catch handler.
  void setCurrentException() noexcept {
    try {
      throw;
    } catch (const Cancelled&) {
      setCancelled();
    } catch (...) {
      content_.template emplace<3>(std::current_exception());
    }
  }
  // T may be a type that can be moved but not assigned.
  void takeOver(Outcome& other) {
    if (other.hasValue())
      content_.template emplace<1>(std::move(std::get<1>(other.content_)));
    else if (other.isCancelled())
      setCancelled();
    else
      content_.template emplace<3>(other.exception());
  }
  bool hasValue() const { return content_.index() == 1; }
  bool isCancelled() const { return content_.index() == 2; }
  std::exception_ptr exception() const { return content_.index() == 3 ? std::get<3>(content_) : nullptr; }
  // The value, or throws what ended the task.
  T take() {
    if (auto thrown = exception()) std::rethrow_exception(thrown);
    if (!hasValue()) throw Cancelled{};
    if constexpr (!std::is_void_v<T>) return std::move(std::get<1>(content_));
  }

 private:
  using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;
  std::variant<std::monostate, Value, Cancelled, std::exception_ptr> content_;
};

// A chain of coroutine frames of which exactly one runs or waits: a spawned task with everything it awaits directly.
// Frames are resumed one after another from a loop, so neither long nor deep chains need stack.
class Strand : public std::enable_shared_from_this<Strand> {
 public:
  explicit Strand(Executor& executor) : executor_(executor) {}
  Strand(const Strand&) = delete;
  Strand& operator=(const Strand&) = delete;
  virtual ~Strand() = default;

  Executor& executor() const { return executor_; }
  CancelToken token() const { return cancel_.token(); }
  bool isCancelRequested() const { return cancel_.isCancelled(); }
  bool isOver() const { return isOver_; }
  virtual bool hasEndedWithValue() const = 0;
  // The exception that ended it; Cancelled does not count.
  virtual std::exception_ptr failure() const = 0;

  // Posts the first step. A strand cancelled before that never runs a line of its task.
  void start();
  // Stops the wait under way; the frames then see Cancelled.
  void cancel();
  // Destroys the frames; nothing is resumed any more. While a frame runs, at its next suspension.
  void kill();

  // The owner's function is called, and the joiner woken, in the step that ends the strand.
  void setOnOver(std::function<void()> onOver) { onOver_ = std::move(onOver); }
  void setJoiner(Strand* joiner) { joiner_ = joiner; }
  Strand* joiner() const { return joiner_; }
  // An exception that ends a strand goes to the claimant; without one it is thrown in the executor's loop.
  void claim() { isClaimed_ = true; }
  void releaseClaim();

  // Called by the running frame.
  void runNext(std::coroutine_handle<> frame) { next_ = frame; }
  void park(std::coroutine_handle<> frame, Leaf* leaf) {
    parked_ = frame;
    leaf_ = leaf;
    isStopCalled_ = false;
  }
  // Posts the resumption of the parked frame, once.
  void wake();

 protected:
  virtual std::coroutine_handle<> prepareRoot() = 0;
  virtual void collectOutcome() = 0;
  virtual void setCancelledOutcome() = 0;
  virtual void destroyFrames() = 0;

 private:
  void run();
  void tearDown();
  void notifyOver();
  void reportFailure();

  Executor& executor_;
  CancelSource cancel_;
  std::coroutine_handle<> next_;
  std::coroutine_handle<> parked_;
  Leaf* leaf_ = nullptr;
  Strand* joiner_ = nullptr;
  std::function<void()> onOver_;
  bool isStarted_ = false;
  bool isRunning_ = false;
  bool isWakePosted_ = false;
  bool isStopCalled_ = false;
  bool isKilled_ = false;
  bool isOver_ = false;
  bool isClaimed_ = false;
};

struct FinalAwaiter {
  bool await_ready() const noexcept { return false; }
  template <typename P>
  bool await_suspend(std::coroutine_handle<P> frame) const noexcept {
    frame.promise().strand->runNext(frame.promise().continuation);
    return true;
  }
  void await_resume() const noexcept {}
};

struct PromiseBase {
  std::suspend_always initial_suspend() const noexcept { return {}; }
  FinalAwaiter final_suspend() const noexcept { return {}; }

  Strand* strand = nullptr;
  std::coroutine_handle<> continuation;
};

template <typename P>
Strand& strandOf(std::coroutine_handle<P> frame) {
  static_assert(std::is_base_of_v<PromiseBase, P>, "only a Task can await this");
  return *frame.promise().strand;
}

}  // namespace quillmere::detail
