#include "base/async/Async.h"
#include "support/RunTask.h"

using namespace quillmere;
using namespace std::chrono_literals;

namespace {

Task<int> later(int number, Duration duration) {
  co_await sleepFor(duration);
  co_return number;
}

Task<void> failLater(Duration duration) {
  co_await sleepFor(duration);
  throw std::runtime_error("broken");
}

TEST(TaskScopeTest, JoinGivesTheValueBeforeAndAfterTheEnd) {
  ManualExecutor executor;
  TaskScope scope(executor);
  auto early = scope.spawn(later(1, 1s));
  auto late = scope.spawn(later(2, 1s));
  EXPECT_EQ(runTask(executor, early.join()), 1);
  executor.runReady();
  EXPECT_TRUE(late.isDone());
  EXPECT_TRUE(scope.isIdle());
  late.cancel();
  scope.cancelAll();
  EXPECT_EQ(runTask(executor, late.join()), 2) << "a cancel after the end changes nothing";
}

TEST(TaskScopeTest, AnExceptionReachesTheOneWhoJoins) {
  ManualExecutor executor;
  TaskScope scope(executor);
  auto before = scope.spawn(failLater(1s));
  EXPECT_THROW(runTask(executor, before.join()), std::runtime_error);
  auto after = scope.spawn(failLater(1s));
  EXPECT_NO_THROW(executor.advance(2s)) << "somebody may still join it";
  EXPECT_THROW(runTask(executor, after.join()), std::runtime_error);
  EXPECT_NO_THROW(executor.runReady());
}

TEST(TaskScopeTest, AnExceptionNobodyJoinsComesOutOfTheLoop) {
  ManualExecutor executor;
  TaskScope scope(executor);
  scope.spawn(failLater(1s));
  EXPECT_THROW(executor.advance(1s), std::runtime_error) << "handle dropped at once";
  EXPECT_TRUE(scope.isIdle());
  EXPECT_NO_THROW(executor.runUntilIdle()) << "the loop goes on after it";

  auto handle = scope.spawn(failLater(1s));
  executor.advance(1s);
  handle = {};
  EXPECT_THROW(executor.runReady(), std::runtime_error) << "handle dropped after the end";

  handle = scope.spawn(failLater(1s));
  { const auto join = handle.join(); }
  EXPECT_THROW(executor.advance(1s), std::runtime_error) << "join never awaited";
}

TEST(TaskScopeTest, TheDeathOfAJoinerCancelsTheTaskLikeItsCancel) {
  ManualExecutor executor;
  TaskScope scope(executor);
  auto handle = scope.spawn(failLater(1s));
  {
    TaskScope other(executor);
    other.spawn(handle.join());
    executor.runReady();
  }
  EXPECT_NO_THROW(executor.runUntilIdle());
  EXPECT_TRUE(handle.isDone());
  EXPECT_FALSE(executor.hasWork());
}

TEST(TaskScopeTest, CancelAllLeavesLaterTasksAlone) {
  ManualExecutor executor;
  TaskScope scope(executor);
  auto old = scope.spawn(later(1, 1s));
  scope.cancelAll();
  auto young = scope.spawn(later(2, 1s));
  EXPECT_EQ(runTask(executor, young.join()), 2);
  EXPECT_THROW(runTask(executor, old.join()), Cancelled);
}

TEST(TaskScopeTest, TheDeathOfTheScopeWakesAJoinerInAnother) {
  ManualExecutor executor;
  auto scope = std::make_unique<TaskScope>(executor);
  TaskScope other(executor);
  auto handle = scope->spawn(later(1, 1h));
  auto joiner = other.spawn(handle.join());
  executor.runReady();
  scope.reset();
  EXPECT_TRUE(handle.isDone());
  EXPECT_THROW(runTask(executor, joiner.join()), Cancelled);
}

TEST(TaskScopeTest, ATaskMayDestroyItsOwnScope) {
  struct Guard {
    QString& trace;
    ~Guard() { trace += u'd'; }
  };
  for (const bool isInFirstStep : {false, true}) {
    ManualExecutor executor;
    auto scope = std::make_unique<TaskScope>(executor);
    QString trace;
    const auto destroy = [](std::unique_ptr<TaskScope>& own, QString& out, bool waits) -> Task<void> {
      const Guard guard{out};
      if (waits) co_await sleepFor(1s);
      own.reset();
      out += u'r';
      co_await yieldNow();
      out += u'x';
    };
    const auto parent = [](std::unique_ptr<TaskScope>& own, QString& out, bool waits, auto child) -> Task<void> {
      const Guard guard{out};
      co_await child(own, out, waits);
      out += u'x';
    };
    auto handle = scope->spawn(parent(scope, trace, !isInFirstStep, destroy));
    executor.advance(1s);
    EXPECT_EQ(trace, "rdd");
    EXPECT_TRUE(handle.isDone());
    EXPECT_FALSE(executor.hasWork());
  }
}

TEST(TaskScopeTest, DestructorsOfFramesMaySpawnCancelAndPostWhileItDies) {
  struct World {
    ManualExecutor executor;
    int runs = 0;
    TaskHandle<int> second;
    std::unique_ptr<TaskScope> scope = std::make_unique<TaskScope>(executor);
  };
  struct AtDeath {
    World& world;
    TaskScope& scope;
    ~AtDeath() {
      const auto count = [](int& runs) -> Task<void> {
        ++runs;
        co_return;
      };
      world.second.cancel();
      scope.spawn(count(world.runs));
      scope.cancelAll();
      world.executor.post([&world = world] { ++world.runs; });
    }
  };
  const auto first = [](World& world) -> Task<void> {
    const AtDeath atDeath{world, *world.scope};
    co_await sleepFor(1h);
  };
  World world;
  world.scope->spawn(first(world));
  world.second = world.scope->spawn(later(1, 1h));
  world.executor.runReady();
  world.scope.reset();
  world.executor.runUntilIdle();
  EXPECT_EQ(world.runs, 1) << "the post ran, the late spawn did not";
  EXPECT_FALSE(world.executor.hasWork());
}

}  // namespace
