#include "support/ManualExecutor.h"

#include <algorithm>
#include <stdexcept>

namespace quillmere {
namespace {

// Real time after which a test that waits for a worker is taken to hang.
constexpr auto hangLimit = std::chrono::seconds(120);
// Virtual time after which runUntil() gives up on something that keeps starting timers.
constexpr auto virtualLimit = std::chrono::hours(24 * 400);

}  // namespace

ManualExecutor::ManualExecutor() : thread_(std::this_thread::get_id()), now_(std::chrono::hours(1000)) {}

ManualExecutor::~ManualExecutor() {
  for (;;) {
    std::deque<std::function<void()>> dropped;
    {
      const std::lock_guard lock(mutex_);
      dropped.swap(posted_);
    }
    const auto droppedTimers = std::exchange(timers_, {});
    if (dropped.empty() && droppedTimers.empty()) break;
  }
}

void ManualExecutor::post(std::function<void()> function) {
  const std::lock_guard lock(mutex_);
  posted_.push_back(std::move(function));
  isPosted_.notify_one();
}

TimePoint ManualExecutor::now() const {
  const std::lock_guard lock(mutex_);
  return now_;
}

bool ManualExecutor::isCurrent() const {
  return std::this_thread::get_id() == thread_;
}

Executor::TimerId ManualExecutor::startTimer(Duration delay, std::function<void()> function) {
  checkThread();
  const TimePoint started = now();
  const Duration wait = std::max(delay, Duration::zero());
  const TimePoint deadline = wait > TimePoint::max() - started ? TimePoint::max() : started + wait;
  const TimerId id = ++lastId_;
  timers_.emplace(TimerKey{deadline, id}, std::move(function));
  deadlines_.emplace(id, deadline);
  return id;
}

void ManualExecutor::cancelTimer(TimerId id) {
  checkThread();
  const auto found = deadlines_.find(id);
  if (found == deadlines_.end()) return;
  const TimerKey key{found->second, id};
  deadlines_.erase(found);
  const auto dropped = timers_.extract(key);
}

void ManualExecutor::externalWorkStarted() {
  const std::lock_guard lock(mutex_);
  ++externalWork_;
}

void ManualExecutor::externalWorkEnded() {
  const std::lock_guard lock(mutex_);
  if (externalWork_ == 0) throw std::logic_error("external work ended that was never started");
  --externalWork_;
}

bool ManualExecutor::runPosted() {
  std::function<void()> function;
  {
    const std::lock_guard lock(mutex_);
    if (posted_.empty()) return false;
    function = std::move(posted_.front());
    posted_.pop_front();
  }
  function();
  return true;
}

bool ManualExecutor::runDueTimer() {
  if (timers_.empty() || timers_.begin()->first.deadline > now()) return false;
  auto timer = timers_.extract(timers_.begin());
  deadlines_.erase(timer.key().id);
  timer.mapped()();
  return true;
}

bool ManualExecutor::runOne() {
  checkThread();
  return runPosted() || runDueTimer();
}

void ManualExecutor::runReady() {
  while (runOne()) continue;
}

void ManualExecutor::runUntilIdle() {
  for (;;) {
    runReady();
    if (externalWorkCount() == 0) return;
    waitForPost();
  }
}

void ManualExecutor::advance(Duration duration) {
  runReady();
  const TimePoint target = now() + duration;
  while (!timers_.empty() && timers_.begin()->first.deadline <= target) {
    {
      const std::lock_guard lock(mutex_);
      now_ = std::max(now_, timers_.begin()->first.deadline);
    }
    runReady();
  }
  {
    const std::lock_guard lock(mutex_);
    now_ = target;
  }
  runReady();
}

void ManualExecutor::runUntil(const std::function<bool()>& condition) {
  const TimePoint limit = now() + virtualLimit;
  while (!condition()) {
    if (runOne()) continue;
    if (externalWorkCount() > 0) {
      waitForPost();
      continue;
    }
    if (timers_.empty()) throw std::logic_error("nothing is left that could end the wait");
    const TimePoint next = timers_.begin()->first.deadline;
    if (next > limit) throw std::logic_error("the wait does not end within 400 virtual days");
    const std::lock_guard lock(mutex_);
    now_ = next;
  }
}

void ManualExecutor::waitForPost() {
  std::unique_lock lock(mutex_);
  if (!isPosted_.wait_for(lock, hangLimit, [this] { return !posted_.empty(); }))
    throw std::logic_error("a worker does not come back");
}

bool ManualExecutor::hasWork() const {
  const std::lock_guard lock(mutex_);
  return !posted_.empty() || !timers_.empty() || externalWork_ > 0;
}

size_t ManualExecutor::queuedCount() const {
  const std::lock_guard lock(mutex_);
  return posted_.size();
}

size_t ManualExecutor::externalWorkCount() const {
  const std::lock_guard lock(mutex_);
  return externalWork_;
}

void ManualExecutor::checkThread() const {
  if (!isCurrent()) throw std::logic_error("only the executor's own thread may do this");
}

}  // namespace quillmere
