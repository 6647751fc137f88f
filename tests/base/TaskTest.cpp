#include <QString>

#include "base/async/Async.h"
#include "support/RunTask.h"

using namespace quillmere;
using namespace std::chrono_literals;

namespace {

struct Live {
  explicit Live(int& count) : count_(count) { ++count_; }
  Live(const Live& other) : count_(other.count_) { ++count_; }
  ~Live() { --count_; }
  int& count_;
};

Task<int> value(int number) {
  co_return number;
}

Task<int> sum(int rounds) {
  int total = 0;
  for (int i = 0; i < rounds; ++i) {
    total += co_await value(i % 2);
  }
  co_return total;
}

Task<int> deep(int depth) {
  if (depth == 0) {
    co_await yieldNow();
    co_return 0;
  }
  const int below = co_await deep(depth - 1);
  co_return below + 1;
}

TEST(TaskTest, DestroyedUnstartedLetsItsArgumentsGo) {
  int live = 0;
  const auto make = [](Live) -> Task<void> { co_return; };
  {
    auto task = make(Live(live));
    EXPECT_EQ(live, 1);
    task = make(Live(live));
    EXPECT_EQ(live, 1) << "assigning over a task destroys it";
  }
  EXPECT_EQ(live, 0);
}

TEST(TaskTest, AnAwaitedFrameIsGoneWhenTheAwaitIsOver) {
  ManualExecutor executor;
  int live = 0;
  const auto child = [](Live) -> Task<int> { co_return 1; };
  const auto parent = [](int& count, auto makeChild) -> Task<int> {
    auto task = makeChild(Live(count));
    const int number = co_await std::move(task);
    co_return count * 10 + number;
  };
  EXPECT_EQ(runTask(executor, parent(live, child)), 1)
      << "arguments of the child are destroyed though its task lives on";
}

TEST(TaskTest, MisuseIsAnErrorAndNotAHang) {
  ManualExecutor executor;
  const auto twice = []() -> Task<int> {
    auto task = value(1);
    int total = co_await std::move(task);
    total += co_await std::move(task);
    co_return total;
  };
  EXPECT_THROW(runTask(executor, twice()), std::logic_error);
  TaskScope scope(executor);
  Completion<int> completion;
  auto handle = scope.spawn(completion.wait());
  executor.runReady();
  EXPECT_THROW(runTask(executor, completion.wait()), std::logic_error) << "a second waiter";
  completion.resolve(1);
  EXPECT_EQ(runTask(executor, handle.join()), 1);
  EXPECT_THROW((void)handle.join(), std::logic_error);
  TaskHandle<> own;
  const auto joinsItself = [](TaskHandle<>& self) -> Task<void> { co_await self.join(); };
  own = scope.spawn(joinsItself(own));
  EXPECT_THROW(executor.runReady(), std::logic_error);
}

TEST(TaskTest, NeitherLongNorDeepChainsNeedStack) {
  ManualExecutor executor;
  EXPECT_EQ(runTask(executor, sum(1'000'000)), 500'000);
  EXPECT_EQ(runTask(executor, deep(50'000)), 50'000);
}

}  // namespace
