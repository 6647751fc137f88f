#include <atomic>
#include <thread>

#include "base/async/Async.h"
#include "support/RunTask.h"

using namespace quillmere;
using namespace std::chrono_literals;

// Every state in which a task can wait, crossed with every way in which the wait can be broken off.
namespace {

struct Env {
  ManualExecutor executor;
  WorkerPool pool{1, "cancel-test"};
  Completion<int> never;
  std::atomic<bool> hasJobBegun{false};
  std::atomic<int> jobsCalled{0};
  int live = 0;
  int stops = 0;
  int begun = 0;
  int cancelled = 0;
  int finished = 0;
  int shieldedFinished = 0;
};

struct Live {
  explicit Live(Env& env) : count_(env.live) { ++count_; }
  Live(const Live& other) : count_(other.count_) { ++count_; }
  ~Live() { --count_; }
  int& count_;
};

Task<void> nap(Env& env, Duration duration) {
  const Live live(env);
  co_await sleepFor(duration);
}

Task<int> napInt(Env& env, Duration duration) {
  const Live live(env);
  co_await sleepFor(duration);
  co_return 1;
}

Task<int> atOnce(Env& env) {
  const Live live(env);
  co_return 2;
}

Task<void> inCompletion(Env& env) {
  Env* const pointer = &env;
  std::function<void()> onCancel = [pointer] { ++pointer->stops; };
  co_await env.never.wait(std::move(onCancel));
}

Task<void> inWhenAllWithOneFinished(Env& env) {
  co_await whenAll(atOnce(env), napInt(env, 10h));
}

Task<void> inTimeout(Env& env) {
  co_await withTimeout(20h, nap(env, 10h));
}

Task<void> inTimeoutInWhenAllInTimeout(Env& env) {
  std::vector<Task<void>> tasks;
  tasks.push_back(inTimeout(env));
  tasks.push_back(inCompletion(env));
  tasks.push_back(inWhenAllWithOneFinished(env));
  for (int i = 0; i < 5; ++i) tasks.push_back(nap(env, std::chrono::hours(10 + i)));
  co_await withTimeout(20h, whenAll(std::move(tasks)));
}

Task<void> shieldedWork(Env& env) {
  const Live live(env);
  co_await sleepFor(5s);
  const CancelToken token = co_await currentCancelToken();
  if (token.isCancelled()) throw std::logic_error("a shielded task sees no cancel");
  co_await sleepFor(5s);
  ++env.shieldedFinished;
}

Task<void> inShielded(Env& env) {
  co_await shielded(shieldedWork(env));
}

Task<void> inJoin(Env& env) {
  Executor& executor = co_await currentExecutor();
  TaskScope scope(executor);
  auto handle = scope.spawn(nap(env, 10h));
  co_await handle.join();
}

struct UntilStopped {
  Env* env;
  int operator()(const StopFlag& stop) const {
    ++env->jobsCalled;
    env->hasJobBegun = true;
    while (!stop.atomic()) std::this_thread::yield();
    return 1;
  }
};

Task<void> inOffloads(Env& env) {
  std::vector<Task<int>> tasks;
  tasks.push_back(offload(env.pool, UntilStopped{&env}));
  tasks.push_back(offload(env.pool, UntilStopped{&env}));
  co_await whenAll(std::move(tasks));
}

struct WaitState {
  const char* name;
  Task<void> (*wait)(Env&);
  bool usesWorker = false;
  bool isShielded = false;
  int stops = 0;
};

Task<void> watched(Env& env, Task<void> (*wait)(Env&)) {
  const Live live(env);
  ++env.begun;
  try {
    co_await wait(env);
  } catch (const Cancelled&) {
    ++env.cancelled;
    throw;
  }
  ++env.finished;
}

class TaskCancelTest : public testing::TestWithParam<WaitState> {
 protected:
  void waitUntilWaiting() {
    env.executor.runReady();
    while (GetParam().usesWorker && !env.hasJobBegun) std::this_thread::yield();
    ASSERT_EQ(env.begun, 1);
    ASSERT_EQ(env.cancelled, 0);
    ASSERT_GT(env.live, 0);
  }
  // Nothing is left of the task, neither in memory nor in the executor.
  void expectNothingLeft(int cancelled, bool mayFinishShielded) {
    env.executor.runUntilIdle();
    EXPECT_EQ(env.live, 0);
    EXPECT_FALSE(env.executor.hasWork());
    EXPECT_EQ(env.cancelled, cancelled);
    EXPECT_EQ(env.finished, 0);
    EXPECT_EQ(env.stops, GetParam().stops);
    EXPECT_EQ(env.shieldedFinished, mayFinishShielded && GetParam().isShielded ? 1 : 0);
    EXPECT_LE(env.jobsCalled, 2);
  }
  void expectCancelledEnd(TaskHandle<>& handle) {
    env.executor.runUntil([&] { return handle.isDone(); });
    EXPECT_THROW(runTask(env.executor, handle.join()), Cancelled);
  }
  Task<void> task() { return watched(env, GetParam().wait); }

  Env env;
};

TEST_P(TaskCancelTest, WhileItWaits) {
  TaskScope scope(env.executor);
  auto handle = scope.spawn(task());
  waitUntilWaiting();
  handle.cancel();
  scope.cancelAll();
  EXPECT_EQ(env.cancelled, 0) << "a task is never resumed from inside cancel()";
  EXPECT_EQ(env.stops, GetParam().stops) << "the stop function is called at once";
  expectCancelledEnd(handle);
  EXPECT_TRUE(scope.isIdle());
  expectNothingLeft(1, true);
}

TEST_P(TaskCancelTest, BeforeItBegins) {
  for (const bool isScopeDead : {false, true}) {
    auto scope = std::make_unique<TaskScope>(env.executor);
    auto handle = scope->spawn(task());
    EXPECT_EQ(env.live, 0);
    handle.cancel();
    EXPECT_FALSE(handle.isDone());
    if (isScopeDead) scope.reset();
    expectCancelledEnd(handle);
    EXPECT_EQ(env.begun, 0) << "no line of it runs";
    EXPECT_FALSE(env.executor.hasWork());
  }
}

TEST_P(TaskCancelTest, BeforeItWaits) {
  const auto cancelSelf = [](Env& own, TaskHandle<>& handle, Task<void> (*wait)(Env&)) -> Task<void> {
    handle.cancel();
    co_await watched(own, wait);
  };
  TaskScope scope(env.executor);
  TaskHandle<> handle;
  handle = scope.spawn(cancelSelf(env, handle, GetParam().wait));
  expectCancelledEnd(handle);
  EXPECT_EQ(env.jobsCalled, 0);
  env.stops = GetParam().stops;  // what never began is not stopped
  expectNothingLeft(1, true);
}

TEST_P(TaskCancelTest, ByTheDeathOfItsScope) {
  for (const bool isCancelledBefore : {false, true}) {
    env.begun = env.stops = env.jobsCalled = 0;
    env.hasJobBegun = false;
    TaskHandle<> handle;
    {
      TaskScope scope(env.executor);
      handle = scope.spawn(task());
      waitUntilWaiting();
      if (isCancelledBefore) handle.cancel();
    }
    EXPECT_EQ(env.live, 0) << "frames go at once, and no line of them runs";
    EXPECT_EQ(env.stops, GetParam().stops);
    EXPECT_EQ(env.executor.timerCount(), 0u);
    EXPECT_TRUE(handle.isDone());
    expectNothingLeft(0, false);
    EXPECT_THROW(runTask(env.executor, handle.join()), Cancelled);
  }
}

TEST_P(TaskCancelTest, ByATimeout) {
  TaskScope scope(env.executor);
  auto handle = scope.spawn(withTimeout(3s, task()));
  waitUntilWaiting();
  env.executor.advance(3s);
  env.executor.runUntil([&] { return handle.isDone(); });
  EXPECT_FALSE(runTask(env.executor, handle.join()));
  expectNothingLeft(1, true);
}

TEST_P(TaskCancelTest, ThroughTheOneWhoJoinsIt) {
  TaskScope scope(env.executor);
  auto handle = scope.spawn(task());
  auto joiner = scope.spawn(handle.join());
  waitUntilWaiting();
  joiner.cancel();
  expectCancelledEnd(joiner);
  EXPECT_TRUE(handle.isDone()) << "the joiner waits for the end of the task";
  expectNothingLeft(1, true);
}

TEST_P(TaskCancelTest, ByAFailingSibling) {
  const auto failing = []() -> Task<void> {
    co_await sleepFor(1s);
    throw std::runtime_error("broken");
  };
  std::vector<Task<void>> tasks;
  tasks.push_back(task());
  tasks.push_back(failing());
  TaskScope scope(env.executor);
  auto handle = scope.spawn(whenAll(std::move(tasks)));
  waitUntilWaiting();
  env.executor.advance(1s);
  env.executor.runUntil([&] { return handle.isDone(); });
  EXPECT_THROW(runTask(env.executor, handle.join()), std::runtime_error);
  expectNothingLeft(1, true);
}

INSTANTIATE_TEST_SUITE_P(
    In, TaskCancelTest,
    testing::Values(WaitState{"completion", inCompletion, false, false, 1},
                    WaitState{"whenAllWithOneFinished", inWhenAllWithOneFinished}, WaitState{"timeout", inTimeout},
                    WaitState{"timeoutInWhenAllInTimeout", inTimeoutInWhenAllInTimeout, false, false, 1},
                    WaitState{"shielded", inShielded, false, true}, WaitState{"join", inJoin},
                    WaitState{"offloads", inOffloads, true}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(CancelTest, BetweenTheValueAndItsResumptionStillThrows) {
  ManualExecutor executor;
  TaskScope scope(executor);
  Completion<int> completion;
  int stops = 0;
  auto handle = scope.spawn(completion.wait([&] { ++stops; }));
  executor.runReady();
  completion.resolve(1);
  handle.cancel();
  executor.runReady();
  EXPECT_EQ(stops, 0) << "nothing is left to stop";
  EXPECT_THROW(runTask(executor, handle.join()), Cancelled);
}

TEST(CancelTest, CaughtAndSwallowedTheTaskGoesOnButEveryWaitThrowsAgain) {
  ManualExecutor executor;
  TaskScope scope(executor);
  const auto stubborn = []() -> Task<int> {
    int caught = 0;
    for (int i = 0; i < 3; ++i) {
      try {
        co_await sleepFor(1h);
      } catch (const Cancelled&) {
        ++caught;
      }
    }
    try {
      co_await throwIfCancelled();
    } catch (const Cancelled&) {
      ++caught;
    }
    co_return caught;
  };
  auto handle = scope.spawn(stubborn());
  executor.runReady();
  handle.cancel();
  executor.runReady();
  EXPECT_EQ(runTask(executor, handle.join()), 4);
  EXPECT_EQ(executor.timerCount(), 0u);
}

TEST(CancelTest, AStopFunctionMayDestroyTheScopeAndItsSiblings) {
  ManualExecutor executor;
  auto scope = std::make_unique<TaskScope>(executor);
  Completion<int> completion;
  int stops = 0;
  const auto sleeper = []() -> Task<int> {
    co_await sleepFor(1h);
    co_return 1;
  };
  auto wait = completion.wait([&] {
    ++stops;
    scope.reset();
  });
  auto group = scope->spawn(whenAll(std::move(wait), sleeper()));
  executor.runReady();
  group.cancel();
  EXPECT_EQ(stops, 1);
  EXPECT_FALSE(scope);
  executor.runUntilIdle();
  EXPECT_FALSE(executor.hasWork());
}

TEST(CancelTokenTest, CallsOnceInOrderWhatIsLeftAndSurvivesItsSource) {
  auto source = std::make_unique<CancelSource>();
  const CancelToken token = source->token();
  QString trace;
  Subscription second;
  const auto first = token.onCancel([&] {
    trace += u'1';
    second.reset();
    source->cancel();
    source.reset();
  });
  second = token.onCancel([&] { trace += u'2'; });
  const auto third = token.onCancel([&] { trace += u'3'; });
  source->cancel();
  EXPECT_EQ(trace, "13");
  const auto late = token.onCancel([&] { trace += u'4'; });
  EXPECT_EQ(trace, "134") << "at once when it has happened already";
  EXPECT_THROW(token.throwIfCancelled(), Cancelled);
}

}  // namespace
