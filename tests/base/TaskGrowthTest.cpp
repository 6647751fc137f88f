#include "AllocatedBytes.h"
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

Task<int> yields(int rounds) {
  for (int i = 0; i < rounds; ++i) co_await yieldNow();
  co_return rounds;
}

Task<int> sleeps(int rounds) {
  for (int i = 0; i < rounds; ++i) co_await sleepFor(1ms);
  co_return rounds;
}

Task<int> completions(int rounds) {
  Executor& executor = co_await currentExecutor();
  int total = 0;
  for (int i = 0; i < rounds; ++i) {
    Completion<int> completion;
    executor.post([completion]() mutable { completion.resolve(1); });
    auto task = completion.wait();
    total += co_await std::move(task);
  }
  co_return total;
}

Task<int> timeouts(int rounds) {
  int total = 0;
  for (int i = 0; i < rounds; ++i) {
    auto task = withTimeout(1s, one());
    const auto result = co_await std::move(task);
    total += result.value_or(0);
    auto late = withTimeout(1ms, cancelledSleep());
    total += co_await std::move(late) ? 1 : 0;
  }
  co_return total;
}

Task<int> groups(int rounds) {
  int total = 0;
  for (int i = 0; i < rounds; ++i) {
    auto task = whenAll(one(), one());
    const auto pair = co_await std::move(task);
    total += std::get<0>(pair) - std::get<1>(pair) + 1;
    auto safe = shielded(one());
    co_await std::move(safe);
  }
  co_return total;
}

Task<int> spawns(int rounds) {
  Executor& executor = co_await currentExecutor();
  TaskScope scope(executor);
  int total = 0;
  for (int i = 0; i < rounds; ++i) {
    auto handle = scope.spawn(one());
    auto join = handle.join();
    total += co_await std::move(join);
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

struct GrowthCase {
  const char* name;
  Task<int> (*run)(int rounds);
  int rounds;
};

class TaskGrowth : public testing::TestWithParam<GrowthCase> {};

TEST_P(TaskGrowth, LeavesNothingBehind) {
  const auto& [name, run, rounds] = GetParam();
  ManualExecutor executor;
  EXPECT_EQ(runTask(executor, run(1000)), 1000);
  executor.runReady();
  const size_t before = allocatedBytes();
  EXPECT_EQ(runTask(executor, run(rounds)), rounds);
  executor.runReady();
  EXPECT_LE(allocatedBytes(), before + 256 * 1024) << "a byte a round would show";
  EXPECT_FALSE(executor.hasWork());
}

INSTANTIATE_TEST_SUITE_P(
    All, TaskGrowth,
    testing::Values(GrowthCase{"yieldNow", yields, 1'000'000}, GrowthCase{"sleepFor", sleeps, 1'000'000},
                    GrowthCase{"Completion", completions, 1'000'000}, GrowthCase{"withTimeout", timeouts, 300'000},
                    GrowthCase{"whenAllAndShielded", groups, 300'000}, GrowthCase{"spawnAndJoin", spawns, 300'000},
                    GrowthCase{"offload", offloads, 100'000}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
