#include <atomic>
#include <future>
#include <thread>

#include "base/async/Async.h"
#include "support/RunTask.h"

using namespace quillmere;
using namespace std::chrono_literals;

namespace {

int spinUntil(const StopFlag& stop) {
  while (!stop.isSet()) std::this_thread::yield();
  return 1;
}

// Remembers the thread on which its last copy died.
std::shared_ptr<void> dyingOn(std::atomic<std::thread::id>& thread) {
  return {nullptr, [&thread](void*) { thread = std::this_thread::get_id(); }};
}

TEST(OffloadTest, RunsElsewhereAndItsResultOrExceptionComesBack) {
  ManualExecutor executor;
  WorkerPool pool(2, "offload-test-with-a-long-name");
  std::thread::id where;
  auto moved = runTask(executor, offload(pool, [&where, owned = std::make_unique<int>(5)](const StopFlag&) mutable {
                         where = std::this_thread::get_id();
                         return std::move(owned);
                       }));
  EXPECT_EQ(*moved, 5);
  EXPECT_NE(where, std::this_thread::get_id());
  EXPECT_THROW(runTask(executor, offload(pool, [](const StopFlag&) -> int { throw std::runtime_error("broken"); })),
               std::runtime_error);
  EXPECT_FALSE(executor.hasWork());
}

TEST(OffloadTest, AJobThatHasNotBegunIsTakenBackAtOnce) {
  ManualExecutor executor;
  WorkerPool pool(1);
  TaskScope scope(executor);
  std::atomic<bool> hasBegun = false;
  std::atomic<bool> mayEnd = false;
  std::atomic<int> calls = 0;
  auto busy = scope.spawn(offload(pool, [&](const StopFlag&) {
    hasBegun = true;
    while (!mayEnd) std::this_thread::yield();
  }));
  auto cancelled = scope.spawn(offload(pool, [&](const StopFlag&) { ++calls; }));
  auto third = scope.spawn(offload(pool, [&](const StopFlag&) { calls += 10; }));
  executor.runReady();
  while (!hasBegun) std::this_thread::yield();
  cancelled.cancel();
  executor.runReady();
  EXPECT_TRUE(cancelled.isDone()) << "it does not wait for the busy worker";
  busy.cancel();
  executor.runReady();
  EXPECT_FALSE(busy.isDone()) << "this one waits until the function has returned";
  mayEnd = true;
  executor.runUntilIdle();
  EXPECT_TRUE(busy.isDone() && third.isDone());
  EXPECT_EQ(calls, 10);
}

TEST(OffloadTest, TheFunctionDiesOnTheWorkerAndTheResultOnTheMainThread) {
  ManualExecutor executor;
  WorkerPool pool(1);
  for (const bool isScopeAlive : {true, false}) {
    std::atomic<std::thread::id> functionDeath, resultDeath;
    std::atomic<bool> hasBegun = false;
    std::atomic<bool> mayEnd = false;
    auto scope = std::make_unique<TaskScope>(executor);
    auto work = [capture = dyingOn(functionDeath), &resultDeath, &hasBegun, &mayEnd](const StopFlag&) {
      hasBegun = true;
      while (!mayEnd) std::this_thread::yield();
      return dyingOn(resultDeath);
    };
    scope->spawn(offload(pool, std::move(work)));
    executor.runReady();
    while (!hasBegun) std::this_thread::yield();
    if (!isScopeAlive) scope.reset();
    EXPECT_EQ(functionDeath.load(), std::thread::id()) << "alive as long as it runs";
    mayEnd = true;
    executor.runUntilIdle();
    EXPECT_NE(functionDeath.load(), std::thread::id());
    EXPECT_NE(functionDeath.load(), std::this_thread::get_id());
    EXPECT_EQ(resultDeath.load(), std::this_thread::get_id());
  }
}

TEST(OffloadTest, AScopeMayDieInAnyPhaseOfManyJobs) {
  for (int round = 0; round < 200; ++round) {
    ManualExecutor executor;
    WorkerPool pool(3);
    std::atomic<int> ended = 0;
    {
      TaskScope scope(executor);
      for (int i = 0; i < 8; ++i)
        scope.spawn(offload(pool, [&ended, text = QString::number(i)](const StopFlag& stop) {
          for (int spin = 0; spin < 200 && !stop.isSet(); ++spin) std::this_thread::yield();
          ++ended;
          return text;
        }));
      executor.runReady();
      for (int spin = 0; spin < round; ++spin) std::this_thread::yield();
      if (round % 3 == 0) scope.cancelAll();
    }
    executor.runUntilIdle();
    EXPECT_LE(ended, 8);
    EXPECT_FALSE(executor.hasWork());
  }
}

TEST(OffloadTest, AnExceptionAfterTheDeathOfTheScopeDoesNotVanish) {
  ManualExecutor executor;
  WorkerPool pool(1);
  std::atomic<bool> hasBegun = false;
  {
    TaskScope scope(executor);
    scope.spawn(offload(pool, [&hasBegun](const StopFlag& stop) -> int {
      hasBegun = true;
      spinUntil(stop);
      throw std::runtime_error("broken");
    }));
    executor.runReady();
    while (!hasBegun) std::this_thread::yield();
  }
  EXPECT_THROW(executor.runUntilIdle(), std::runtime_error);
}

TEST(WorkerPoolTest, ItsEndStopsRunningJobsAndCancelsWaitingOnes) {
  ManualExecutor executor;
  TaskScope scope(executor);
  auto pool = std::make_unique<WorkerPool>(1);
  std::atomic<bool> hasBegun = false;
  auto running = scope.spawn(offload(*pool, [&hasBegun](const StopFlag& stop) {
    hasBegun = true;
    return spinUntil(stop);
  }));
  auto waiting = scope.spawn(offload(*pool, spinUntil));
  executor.runReady();
  while (!hasBegun) std::this_thread::yield();
  pool.reset();
  executor.runUntilIdle();
  EXPECT_EQ(runTask(executor, running.join()), 1) << "it was not cancelled, it returned";
  EXPECT_THROW(runTask(executor, waiting.join()), Cancelled);
}

TEST(WorkerPoolTest, MayBeGoneWhenATaskIsCancelled) {
  ManualExecutor executor;
  TaskScope scope(executor);
  auto pool = std::make_unique<WorkerPool>(1);
  auto early = scope.spawn(offload(*pool, spinUntil));
  auto unbegun = offload(*pool, spinUntil);
  executor.runReady();
  pool.reset();
  early.cancel();
  auto late = scope.spawn(std::move(unbegun));
  executor.runUntilIdle();
  EXPECT_THROW(runTask(executor, early.join()), Cancelled);
  EXPECT_THROW(runTask(executor, late.join()), Cancelled);
}

}  // namespace
