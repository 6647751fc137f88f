#include "platform/qt/QtExecutor.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>
#include <thread>

#include "base/async/Async.h"
#include "support/RunTask.h"

using namespace quillmere;
using namespace std::chrono_literals;

namespace {

void processUntil(const std::function<bool()>& condition) {
  QEventLoop loop;
  bool isHanging = false;
  QTimer::singleShot(60s, &loop, [&] { isHanging = true; });
  while (!condition() && !isHanging) loop.processEvents(QEventLoop::WaitForMoreEvents);
  ASSERT_FALSE(isHanging);
}

TEST(QtExecutor, ANestedEventLoopServesWhatIsQueuedBehindTheRunningFunction) {
  QtExecutor executor;
  QString trace;
  executor.post([&] {
    QEventLoop nested;
    executor.post([&] { trace += u'c'; });
    executor.startTimer(1ms, [&] {
      trace += u'd';
      nested.quit();
    });
    trace += u'a';
    nested.exec();
    trace += u'e';
  });
  executor.post([&] { trace += u'b'; });
  processUntil([&] { return trace.endsWith(u'e'); });
  EXPECT_EQ(trace, QStringLiteral("abcde"));
}

TEST(QtExecutor, ANestedLoopInsideATimerServesTheOtherTimers) {
  QtExecutor executor;
  QString trace;
  executor.startTimer(0ms, [&] {
    QEventLoop nested;
    trace += u'a';
    executor.startTimer(2ms, [&] { nested.quit(); });
    nested.exec();
    trace += u'c';
  });
  executor.startTimer(1ms, [&] { trace += u'b'; });
  processUntil([&] { return trace.endsWith(u'c'); });
  EXPECT_EQ(trace, QStringLiteral("abc"));
}

TEST(QtExecutor, FunctionsThatKeepPostingLetQtsOwnEventsThrough) {
  QtExecutor executor;
  bool isDone = false;
  std::function<void()> again = [&] {
    if (!isDone) executor.post(again);
  };
  executor.post(again);
  QTimer::singleShot(0, QCoreApplication::instance(), [&] { isDone = true; });
  processUntil([&] { return isDone; });
  EXPECT_TRUE(isDone);
}

TEST(QtExecutor, TimersThatRestartThemselvesWithoutDelayLetQtsOwnEventsThrough) {
  QtExecutor executor;
  bool isDone = false;
  std::function<void()> again = [&] {
    if (!isDone) executor.startTimer(0ms, again);
  };
  executor.startTimer(0ms, again);
  QTimer::singleShot(0, QCoreApplication::instance(), [&] { isDone = true; });
  processUntil([&] { return isDone; });
  EXPECT_TRUE(isDone);
}

TEST(QtExecutor, APostFromAnotherThreadWakesASleepingLoop) {
  QtExecutor executor;
  Completion<int> completion;
  std::thread thread([&executor, completion] { executor.post([completion]() mutable { completion.resolve(3); }); });
  EXPECT_EQ(runTaskInLoop(executor, completion.wait()), 3);
  thread.join();
}

TEST(QtExecutorDeathTest, AnExceptionEndsTheProgramWithItsMessage) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto loop = [](const std::function<void(QtExecutor&)>& start) {
    QtExecutor executor;
    start(executor);
    QEventLoop events;
    QTimer::singleShot(10s, &events, &QEventLoop::quit);
    events.exec();
  };
  EXPECT_DEATH(loop([](QtExecutor& executor) { executor.post([] { throw std::runtime_error("very broken"); }); }),
               "very broken");
  const auto failing = []() -> Task<void> {
    co_await yieldNow();
    throw std::runtime_error("task broken");
  };
  EXPECT_DEATH(
      {
        QtExecutor executor;
        TaskScope scope(executor);
        scope.spawn(failing());
        QEventLoop events;
        events.exec();
      },
      "task broken");
}

}  // namespace
