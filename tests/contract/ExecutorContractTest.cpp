#include <thread>

#include "base/async/Async.h"
#include "platform/qt/QtExecutor.h"
#include "support/ManualExecutor.h"
#include "support/WaitUntil.h"

using namespace quillmere;
using namespace std::chrono_literals;

// What every executor promises, on the one of the tests and on the one of the application. Short real waits are waited
// for by events; nothing here depends on how long they really take.
namespace {

class ExecutorContract : public testing::TestWithParam<std::unique_ptr<Executor> (*)()> {
 protected:
  ManualExecutor* manual() { return dynamic_cast<ManualExecutor*>(owned.get()); }
  void runUntil(const std::function<bool()>& condition) {
    if (manual()) return manual()->runUntil(condition);
    ASSERT_TRUE(waitUntil(condition));
  }
  void runUntilCount(size_t count) {
    runUntil([&] { return trace.size() >= count; });
  }
  std::function<void()> note(int number) {
    return [this, number] { trace.push_back(number); };
  }

  std::unique_ptr<Executor> owned = GetParam()();
  Executor& executor = *owned;
  std::vector<int> trace;
};

TEST_P(ExecutorContract, PostsRunInOrderAndNeverInline) {
  executor.post([&] {
    executor.post(note(3));
    trace.push_back(1);
  });
  executor.post(note(2));
  EXPECT_TRUE(trace.empty());
  runUntilCount(3);
  EXPECT_EQ(trace, (std::vector<int>{1, 2, 3}));
}

TEST_P(ExecutorContract, TellsItsOwnThread) {
  bool isCurrentThere = true, isRefusedThere = false;
  std::thread([&] {
    isCurrentThere = executor.isCurrent();
    try {
      const TaskScope scope(executor);
    } catch (const std::logic_error&) {
      isRefusedThere = true;
    }
  }).join();
  EXPECT_TRUE(executor.isCurrent());
  EXPECT_FALSE(isCurrentThere);
#ifndef NDEBUG
  EXPECT_TRUE(isRefusedThere);
#endif
}

TEST_P(ExecutorContract, TimersFireByDeadlineThenByStart) {
  executor.startTimer(3ms, note(5));
  executor.startTimer(1ms, note(3));
  executor.startTimer(2ms, note(4));
  executor.startTimer(0ms, note(1));
  executor.startTimer(-1h, note(2));
  EXPECT_TRUE(trace.empty()) << "never from inside startTimer()";
  runUntilCount(5);
  EXPECT_EQ(trace, (std::vector<int>{1, 2, 3, 4, 5}));
}

TEST_P(ExecutorContract, WhatATimerPostsRunsBeforeTheNextTimer) {
  executor.startTimer(0ms, [&] {
    trace.push_back(1);
    executor.post([&] {
      trace.push_back(2);
      executor.post(note(3));
    });
  });
  executor.startTimer(0ms, note(4));
  runUntilCount(4);
  EXPECT_EQ(trace, (std::vector<int>{1, 2, 3, 4}));
}

TEST_P(ExecutorContract, TimersAreNeverEarlyAndTheClockNeverGoesBack) {
  for (const Duration delay : {Duration(1), Duration(999us), Duration(1ms), Duration(7ms)}) {
    const TimePoint before = executor.now();
    TimePoint fired = before - 1h;
    executor.startTimer(delay, [&] { fired = executor.now(); });
    runUntil([&] { return fired >= before; });
    EXPECT_GE(fired - before, delay);
  }
}

TEST_P(ExecutorContract, ACancelledTimerDoesNotFire) {
  const auto first = executor.startTimer(0ms, note(9));
  Executor::TimerId third = 0;
  executor.startTimer(0ms, [&] {
    trace.push_back(1);
    executor.cancelTimer(third);  // due as well, but not yet run
  });
  third = executor.startTimer(0ms, note(9));
  executor.cancelTimer(first);
  executor.cancelTimer(first);
  executor.cancelTimer(0);
  executor.cancelTimer(123456);
  EXPECT_NE(first, third);
  executor.startTimer(1ms, note(2));
  runUntilCount(2);
  EXPECT_EQ(trace, (std::vector<int>{1, 2}));
}

TEST_P(ExecutorContract, ATimerMayCancelItselfAndStartAnother) {
  Executor::TimerId own = 0;
  own = executor.startTimer(0ms, [&] {
    executor.cancelTimer(own);
    trace.push_back(1);
    executor.startTimer(0ms, note(2));
    executor.startTimer(Duration::max(), note(9));
  });
  runUntilCount(2);
  EXPECT_EQ(trace, (std::vector<int>{1, 2}));
}

TEST_P(ExecutorContract, FunctionsAreLetGoWhenTheyHaveRunOrWereCancelled) {
  const auto held = std::make_shared<int>(1);
  executor.post([held, this] { trace.push_back(*held); });
  executor.startTimer(0ms, [held, this] { trace.push_back(*held); });
  const auto cancelled = executor.startTimer(1h, [held] {});
  executor.cancelTimer(cancelled);
  runUntilCount(2);
  runUntil([&] { return held.use_count() == 1; });
  executor.post([held] {});
  executor.startTimer(1h, [held] {});
  owned.reset();
  EXPECT_EQ(held.use_count(), 1) << "what is queued at the end is dropped";
}

TEST_P(ExecutorContract, PostsOfOtherThreadsArriveInTheirOrder) {
  constexpr int threadCount = 4, postCount = 2000;
  std::vector<int> last(threadCount, 0);
  int arrived = 0;
  bool isOrdered = true, isOwnThread = true;
  const auto self = std::this_thread::get_id();
  std::vector<std::thread> threads;
  for (int t = 0; t < threadCount; ++t) {
    executor.externalWorkStarted();
    threads.emplace_back([&, t] {
      for (int i = 1; i <= postCount; ++i)
        executor.post([&, t, i] {
          isOrdered = isOrdered && last[size_t(t)] + 1 == i;
          isOwnThread = isOwnThread && std::this_thread::get_id() == self;
          last[size_t(t)] = i;
          ++arrived;
        });
      executor.post([&] { executor.externalWorkEnded(); });
    });
  }
  runUntil([&] { return arrived == threadCount * postCount; });
  for (auto& thread : threads) thread.join();
  EXPECT_TRUE(isOrdered);
  EXPECT_TRUE(isOwnThread);
}

template <typename E>
std::unique_ptr<Executor> make() {
  return std::make_unique<E>();
}

INSTANTIATE_TEST_SUITE_P(On, ExecutorContract, testing::Values(&make<ManualExecutor>, &make<QtExecutor>),
                         [](const auto& test) { return test.index == 0 ? "ManualExecutor" : "QtExecutor"; });

}  // namespace
