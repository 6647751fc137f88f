#include <malloc.h>

#include "base/async/Async.h"
#include "support/RunTask.h"

using namespace quillmere;
using namespace std::chrono_literals;

namespace {

Task<int> one() {
  co_await yieldNow();
  co_return 1;
}

Task<void> cancelledSleep() {
  co_await sleepFor(1h);
}

// Every kind of wait once a round, in time and broken off.
Task<int> waits(int rounds) {
  Executor& executor = co_await currentExecutor();
  TaskScope scope(executor);
  int total = 0;
  for (int i = 0; i < rounds; ++i) {
    co_await sleepFor(1ms);
    Completion<int> completion;
    executor.post([completion]() mutable { completion.resolve(1); });
    total += co_await completion.wait();
    const auto result = co_await withTimeout(1s, one());
    const bool isLateDone = co_await withTimeout(1ms, cancelledSleep());
    const auto pair = co_await whenAll(one(), shielded(one()));
    total += result.value_or(5) - std::get<0>(pair) + (isLateDone ? 7 : 0);
    auto handle = scope.spawn(one());
    total += co_await handle.join() - std::get<1>(pair);
    auto dropped = scope.spawn(cancelledSleep());
    dropped.cancel();
  }
  co_await yieldNow();
  if (!scope.isIdle()) throw std::logic_error("tasks left in the scope");
  co_return total;
}

Task<int> offloads(int rounds) {
  WorkerPool pool(2);
  int total = 0;
  for (int i = 0; i < rounds; ++i) {
    auto task = offload(pool, [](const StopFlag&) { return 1; });
    total += co_await std::move(task);
  }
  co_return total;
}

// Nothing under a sanitizer, which has a heap of its own.
size_t allocatedBytes() {
  return mallinfo2().uordblks;
}

TEST(TaskGrowthTest, WaitsLeaveNothingBehind) {
  for (const auto& [run, rounds] : {std::pair{&waits, 300'000}, std::pair{&offloads, 100'000}}) {
    ManualExecutor executor;
    EXPECT_EQ(runTask(executor, run(1000)), 1000);
    executor.runReady();
    const size_t before = allocatedBytes();
    EXPECT_EQ(runTask(executor, run(rounds)), rounds);
    executor.runReady();
    EXPECT_LE(allocatedBytes(), before + 256 * 1024) << "a byte a round would show";
    EXPECT_FALSE(executor.hasWork());
  }
}

}  // namespace
