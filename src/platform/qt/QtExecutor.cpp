#include "platform/qt/QtExecutor.h"

#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace quillmere {
namespace {

// How many functions may run between two timers of one turn, so that a task that only yields cannot hold back Qt.
constexpr int maximumPostedPerTimer = 1000;

int checked(int fd, const char* what) {
  if (fd < 0) throw std::system_error(errno, std::generic_category(), what);
  return fd;
}

void drain(int fd) {
  std::uint64_t count = 0;
  [[maybe_unused]] const auto size = ::read(fd, &count, sizeof count);  // empty is fine: the fd does not block
}

void runOrDie(const std::function<void()>& function) noexcept {
  try {
    function();
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "quillmere: an exception reached the event loop: %s\n", exception.what());
    std::terminate();
  } catch (...) {
    std::fprintf(stderr, "quillmere: an exception of unknown type reached the event loop\n");
    std::terminate();
  }
}

}  // namespace

QtExecutor::QtExecutor()
    : thread_(std::this_thread::get_id()),
      wakeFd_(checked(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")),
      timerFd_(checked(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK), "timerfd_create")),
      wakeNotifier_(wakeFd_, QSocketNotifier::Read),
      timerNotifier_(timerFd_, QSocketNotifier::Read) {
  QObject::connect(&wakeNotifier_, &QSocketNotifier::activated, &wakeNotifier_, [this] { runPosted(); });
  QObject::connect(&timerNotifier_, &QSocketNotifier::activated, &timerNotifier_, [this] { fireTimers(); });
}

QtExecutor::~QtExecutor() {
  wakeNotifier_.setEnabled(false);
  timerNotifier_.setEnabled(false);
  // What the dropped functions own may post or start timers from its destructor.
  for (;;) {
    std::deque<std::function<void()>> dropped;
    {
      const std::lock_guard lock(mutex_);
      dropped.swap(posted_);
    }
    const auto droppedTimers = std::exchange(timers_, {});
    if (dropped.empty() && droppedTimers.empty()) break;
  }
  ::close(timerFd_);
  ::close(wakeFd_);
}

void QtExecutor::post(std::function<void()> function) {
  const std::lock_guard lock(mutex_);
  posted_.push_back(std::move(function));
  if (posted_.size() > 1) return;  // the descriptor stays readable until the queue is empty
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto size = ::write(wakeFd_, &one, sizeof one);
}

TimePoint QtExecutor::now() const {
  return std::chrono::steady_clock::now();
}

bool QtExecutor::isCurrent() const {
  return std::this_thread::get_id() == thread_;
}

Executor::TimerId QtExecutor::startTimer(Duration delay, std::function<void()> function) {
  assertCurrent(*this);
  const TimePoint started = now();
  const Duration wait = std::max(delay, Duration::zero());
  const TimePoint deadline = wait > TimePoint::max() - started ? TimePoint::max() : started + wait;
  const TimerId id = ++lastId_;
  timers_.emplace(TimerKey{deadline, id}, std::move(function));
  deadlines_.emplace(id, deadline);
  if (timers_.begin()->first.id == id) armTimer();
  return id;
}

void QtExecutor::cancelTimer(TimerId id) {
  assertCurrent(*this);
  const auto found = deadlines_.find(id);
  if (found == deadlines_.end()) return;
  const TimerKey key{found->second, id};
  deadlines_.erase(found);
  const auto dropped = timers_.extract(key);  // an early wake-up for nothing does no harm
}

bool QtExecutor::runOnePosted() {
  std::function<void()> function;
  {
    const std::lock_guard lock(mutex_);
    if (posted_.empty()) return false;
    function = std::move(posted_.front());
    posted_.pop_front();
    if (posted_.empty()) drain(wakeFd_);
  }
  runOrDie(function);
  return true;
}

void QtExecutor::runPosted() {
  size_t count = 0;
  {
    const std::lock_guard lock(mutex_);
    count = posted_.size();
  }
  while (count-- > 0 && runOnePosted()) continue;
}

void QtExecutor::fireTimers() {
  drain(timerFd_);
  // Timers started from here on wait for the next turn.
  const TimePoint turn = now();
  const TimerId last = lastId_;
  while (!timers_.empty()) {
    const auto first = timers_.begin();
    if (first->first.deadline > turn || first->first.id > last) break;
    auto timer = timers_.extract(first);
    deadlines_.erase(timer.key().id);
    armTimer();  // a nested event loop inside the function must see the others
    runOrDie(timer.mapped());
    for (int i = 0; i < maximumPostedPerTimer && runOnePosted(); ++i) continue;
  }
  armTimer();
}

void QtExecutor::armTimer() {
  itimerspec when{};
  if (!timers_.empty()) {
    const auto sinceBoot = std::max(timers_.begin()->first.deadline.time_since_epoch(), Duration(1));
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(sinceBoot);
    when.it_value.tv_sec = seconds.count();
    when.it_value.tv_nsec = (sinceBoot - seconds).count();
  }
  ::timerfd_settime(timerFd_, TFD_TIMER_ABSTIME, &when, nullptr);
}

}  // namespace quillmere
