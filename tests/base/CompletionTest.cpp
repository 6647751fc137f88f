#include "base/async/Async.h"
#include "support/RunTask.h"

using namespace quillmere;
using namespace std::chrono_literals;

namespace {

TEST(CompletionTest, ResolvedBeforeOrAfterTheWait) {
  for (const bool isEarly : {true, false}) {
    ManualExecutor executor;
    TaskScope scope(executor);
    Completion<std::unique_ptr<int>> completion;
    const auto resolve = [&] { EXPECT_TRUE(completion.resolve(std::make_unique<int>(1))); };
    if (isEarly) resolve();
    auto handle = scope.spawn(completion.wait());
    executor.runReady();
    EXPECT_EQ(handle.isDone(), isEarly);
    if (!isEarly) resolve();
    EXPECT_EQ(handle.isDone(), isEarly) << "never resumed from inside resolve()";
    EXPECT_EQ(*runTask(executor, handle.join()), 1);
  }
}

TEST(CompletionTest, OnlyTheFirstValueCounts) {
  ManualExecutor executor;
  Completion<int> completion;
  Completion<int> copy = completion;
  EXPECT_TRUE(copy.resolve(1));
  EXPECT_FALSE(completion.resolve(2));
  EXPECT_EQ(runTask(executor, completion.wait()), 1);
  Completion<> event;
  EXPECT_TRUE(event.resolve());
  runTask(executor, event.wait());
  runTask(executor, event.wait());
}

TEST(CompletionTest, CanBeAwaitedAgainAfterATimeout) {
  ManualExecutor executor;
  Completion<int> completion;
  int stops = 0;
  EXPECT_EQ(runTask(executor, withTimeout(1s, completion.wait([&] { ++stops; }))), std::nullopt);
  EXPECT_EQ(stops, 1);
  executor.startTimer(1s, [&] { completion.resolve(2); });
  EXPECT_EQ(runTask(executor, completion.wait()), 2);
}

TEST(CompletionTest, MayBeResolvedInTheStopFunctionAndAfterTheScopeIsGone) {
  ManualExecutor executor;
  Completion<int> completion;
  auto scope = std::make_unique<TaskScope>(executor);
  auto handle = scope->spawn(completion.wait([completion]() mutable { completion.resolve(1); }));
  executor.runReady();
  handle.cancel();
  EXPECT_THROW(runTask(executor, handle.join()), Cancelled);

  Completion<int> late;
  auto lost = scope->spawn(late.wait());
  executor.runReady();
  scope.reset();
  EXPECT_TRUE(late.resolve(1)) << "a callback that comes too late";
  EXPECT_TRUE(lost.isDone());
  executor.runUntilIdle();
}

}  // namespace
