#include "platform/atspi/AtspiAccessibility.h"

#include "base/async/Completion.h"
#include "platform/atspi/AtspiThread.h"
#include "platform/atspi/AtspiTree.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr auto patience = 100ms;

// What a visit and its job share.
struct Visit {
  std::function<void(AccessibilityTree&)> work;
  AtspiCaller::Clock::time_point deadline;
  std::optional<qint64> frontmostProcessId;
  std::atomic<bool> isGivenUp = false;
};

// Accessibility thread. Whether the work ran to its end in time.
bool run(Visit& visit, AtspiBus& bus, const std::atomic<bool>& isEnding) {
  if (visit.isGivenUp || !bus.connection().isConnected()) return false;
  AtspiCaller caller(bus.connection(), visit.deadline, bus.silentPrograms(), isEnding);
  if (caller.isOutOfTime()) return false;
  AtspiTree tree(bus, caller, visit.frontmostProcessId);
  visit.work(tree);
  return !caller.isOutOfTime();
}

// Gives the waiting side up when it goes away, however that happens.
struct Guard {
  explicit Guard(Executor& itsExecutor) : executor(itsExecutor) {}
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;
  ~Guard() {
    visit->isGivenUp = true;
    executor.cancelTimer(timer);
  }
  Executor& executor;
  std::shared_ptr<Visit> visit = std::make_shared<Visit>();
  Executor::TimerId timer = 0;
};

}  // namespace

AtspiAccessibility::AtspiAccessibility(Executor& executor, Options options, const Logging& logging)
    : executor_(executor), options_(std::move(options)), logging_(logging) {}

AtspiAccessibility::~AtspiAccessibility() = default;

AtspiThread& AtspiAccessibility::thread() const {
  assertCurrent(executor_);
  if (!thread_) thread_ = std::make_unique<AtspiThread>(logging_);
  return *thread_;
}

void AtspiAccessibility::start() {
  thread().isConnected();
}

bool AtspiAccessibility::isTrusted() const {
  return thread().isConnected();
}

Task<bool> AtspiAccessibility::visit(std::function<void(AccessibilityTree&)> work, Duration limit) {
  co_await throwIfCancelled();
  Guard guard(executor_);
  guard.visit->work = std::move(work);
  guard.visit->deadline = AtspiCaller::Clock::now() + limit;
  if (options_.frontmostProcessId) guard.visit->frontmostProcessId = options_.frontmostProcessId();

  Completion<bool> isDone;
  guard.timer = executor_.startTimer(limit + patience, [isDone]() mutable { isDone.resolve(false); });
  AtspiThread& atspi = thread();
  // The job is dropped on the accessibility thread, the completion it holds with it; resolving happens here only.
  atspi.post([visit = guard.visit, isDone, &executor = executor_, &isEnding = atspi.isEnding()](AtspiBus& bus) {
    const bool ran = run(*visit, bus, isEnding);
    executor.post([isDone, ran]() mutable { isDone.resolve(ran); });
  });
  const bool ran = co_await isDone.wait();
  co_return ran;
}

}  // namespace quillmere
