#include "base/async/Async.h"
#include "support/RunTask.h"

using namespace quillmere;
using namespace std::chrono_literals;

namespace {

Task<int> later(int number, Duration duration) {
  co_await sleepFor(duration);
  co_return number;
}

Task<void> nap(Duration duration) {
  co_await sleepFor(duration);
}

Task<std::unique_ptr<int>> owned(int number, Duration duration) {
  co_await sleepFor(duration);
  co_return std::make_unique<int>(number);
}

Task<int> throwsAfter(Duration duration, const char* what) {
  if (duration > 0s) co_await sleepFor(duration);
  throw std::runtime_error(what);
}

Task<int> cancelsItself() {
  co_await yieldNow();
  throw Cancelled{};
}

TEST(WithTimeoutTest, DecidesByTheClock) {
  struct {
    Duration limit;
    Duration work;
    bool isInTime;
  } const cases[] = {
      {10s, 0s, true},  {10s, 9999ms, true}, {10s, 10s, false},     {10s, 11s, false},
      {0s, 1ns, false}, {-1s, 1h, false},    {24h * 365, 1s, true},
  };
  for (const auto& [limit, work, isInTime] : cases) {
    ManualExecutor executor;
    const TimePoint begin = executor.now();
    EXPECT_EQ(runTask(executor, withTimeout(limit, later(3, work))), isInTime ? std::optional(3) : std::nullopt);
    EXPECT_EQ(runTask(executor, withTimeout(limit, nap(work))), isInTime);
    EXPECT_EQ(executor.now() - begin, 2 * (isInTime ? work : std::max(limit, Duration(0))))
        << "nobody waits longer than needed";
    EXPECT_FALSE(executor.hasWork()) << "no timer is left behind";
  }
}

TEST(WithTimeoutTest, AResultOfTheSameTickCountsIfItCameFirst) {
  for (const bool isResultFirst : {true, false}) {
    ManualExecutor executor;
    TaskScope scope(executor);
    Completion<int> completion;
    const auto resolve = [&] { completion.resolve(1); };
    if (isResultFirst) executor.startTimer(5s, resolve);
    auto handle = scope.spawn(withTimeout(5s, completion.wait()));
    executor.runReady();
    if (!isResultFirst) executor.startTimer(5s, resolve);
    executor.advance(5s);
    EXPECT_EQ(runTask(executor, handle.join()), isResultFirst ? std::optional(1) : std::nullopt);
  }
}

TEST(WithTimeoutTest, AFinishedTaskWhoseResumptionIsStillQueuedIsInTime) {
  ManualExecutor executor;
  TaskScope scope(executor);
  Completion<int> completion;
  auto handle = scope.spawn(withTimeout(5s, completion.wait()));
  executor.runReady();
  completion.resolve(1);
  executor.runOne();  // the child ends; its parent's resumption is queued
  executor.advance(1h);
  EXPECT_EQ(runTask(executor, handle.join()), std::optional(1));
}

TEST(WithTimeoutTest, ATaskThatEndsWellInSpiteOfTheTimeoutIsLate) {
  ManualExecutor executor;
  const auto stubborn = []() -> Task<int> {
    try {
      co_await sleepFor(1h);
    } catch (const Cancelled&) {
    }
    co_return 5;
  };
  EXPECT_EQ(runTask(executor, withTimeout(1s, stubborn())), std::nullopt);
  EXPECT_EQ(runTask(executor, withTimeout(1s, shielded(later(1, 5s)))), std::nullopt);
}

TEST(WithTimeoutTest, ExceptionsAndForeignCancelsPassThrough) {
  ManualExecutor executor;
  EXPECT_THROW(runTask(executor, withTimeout(1s, throwsAfter(0s, "a"))), std::runtime_error);
  EXPECT_THROW(runTask(executor, withTimeout(1s, cancelsItself())), Cancelled);
  const auto throwsWhenCancelled = []() -> Task<void> {
    try {
      co_await sleepFor(1h);
    } catch (const Cancelled&) {
      throw std::runtime_error("broken while ending");
    }
  };
  EXPECT_THROW(runTask(executor, withTimeout(1s, throwsWhenCancelled())), std::runtime_error);
  EXPECT_FALSE(executor.hasWork());
}

TEST(WithTimeoutTest, TheInnerOneOfTwoEqualLimitsDoesNotHideTheOuter) {
  ManualExecutor executor;
  const auto nested = [](Duration outer, Duration inner) -> Task<std::optional<std::optional<int>>> {
    return withTimeout(outer, withTimeout(inner, later(1, 1h)));
  };
  EXPECT_EQ(runTask(executor, nested(5s, 3s)), std::make_optional(std::optional<int>()));
  EXPECT_EQ(runTask(executor, nested(3s, 5s)), std::nullopt);
  EXPECT_EQ(runTask(executor, nested(5s, 5s)), std::nullopt);
}

TEST(WhenAllTest, KeepsTheOrderOfTheTasksAndRunsThemSideBySide) {
  ManualExecutor executor;
  const TimePoint begin = executor.now();
  std::vector<Task<std::unique_ptr<int>>> tasks;
  for (int i = 0; i < 4; ++i) tasks.push_back(owned(i, std::chrono::seconds(10 - i)));
  const auto values = runTask(executor, whenAll(std::move(tasks)));
  ASSERT_EQ(values.size(), 4u);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(*values[size_t(i)], i);
  EXPECT_EQ(executor.now() - begin, 10s);
  EXPECT_TRUE(runTask(executor, whenAll(std::vector<Task<int>>())).empty());
}

TEST(WhenAllTest, TheFirstExceptionInTimeWinsAndTheRestIsEnded) {
  ManualExecutor executor;
  const TimePoint begin = executor.now();
  std::vector<Task<int>> tasks;
  tasks.push_back(later(1, 1h));
  tasks.push_back(throwsAfter(2s, "second"));
  tasks.push_back(throwsAfter(1s, "first"));
  try {
    runTask(executor, whenAll(std::move(tasks)));
    FAIL() << "no exception";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "first");
  }
  EXPECT_EQ(executor.now() - begin, 1s);
  EXPECT_FALSE(executor.hasWork());
}

TEST(WhenAllTest, AFailedGroupWaitsForItsShieldedChildrenAlone) {
  ManualExecutor executor;
  const TimePoint begin = executor.now();
  EXPECT_THROW(runTask(executor, whenAll(later(1, 1h), cancelsItself())), Cancelled);
  EXPECT_EQ(executor.now(), begin);
  EXPECT_THROW(runTask(executor, whenAll(throwsAfter(1s, "a"), shielded(later(1, 7s)))), std::runtime_error);
  EXPECT_EQ(executor.now() - begin, 7s);
}

TEST(WhenAllTest, AFailureBeforeTheOthersBeginKeepsThemFromBeginning) {
  ManualExecutor executor;
  int begun = 0;
  const auto counted = [](int& count) -> Task<int> {
    ++count;
    co_return count;
  };
  EXPECT_THROW(runTask(executor, whenAll(throwsAfter(0s, "a"), counted(begun))), std::runtime_error);
  EXPECT_EQ(begun, 0);
}

TEST(ShieldedTest, AnExceptionInsideIsNotLostToACancel) {
  ManualExecutor executor;
  TaskScope scope(executor);
  auto handle = scope.spawn(shielded(throwsAfter(1s, "a")));
  executor.runReady();
  handle.cancel();
  EXPECT_THROW(runTask(executor, handle.join()), std::runtime_error);
}

}  // namespace
