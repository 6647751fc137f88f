#include "platform/qt/QtExecutor.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

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
  EXPECT_EQ(trace, "abcde");
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
  EXPECT_EQ(trace, "abc");
}

TEST(QtExecutor, WhatStartsItselfAgainWithoutDelayLetsQtsOwnEventsThrough) {
  for (const bool isTimer : {false, true}) {
    QtExecutor executor;
    bool isDone = false;
    std::function<void()> again = [&] {
      if (isDone) return;
      if (isTimer)
        executor.startTimer(0ms, again);
      else
        executor.post(again);
    };
    again();
    QTimer::singleShot(0, QCoreApplication::instance(), [&] { isDone = true; });
    processUntil([&] { return isDone; });
    EXPECT_TRUE(isDone);
  }
}

TEST(QtExecutorDeathTest, AnExceptionEndsTheProgramWithItsMessage) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto run = [](auto start) {
    QtExecutor executor;
    TaskScope scope(executor);
    start(executor, scope);
    QEventLoop events;
    QTimer::singleShot(10s, &events, &QEventLoop::quit);
    events.exec();
  };
  EXPECT_DEATH(
      run([](Executor& executor, TaskScope&) { executor.post([] { throw std::runtime_error("very broken"); }); }),
      "very broken");
  const auto failing = []() -> Task<void> {
    co_await yieldNow();
    throw std::runtime_error("task broken");
  };
  EXPECT_DEATH(run([&](Executor&, TaskScope& scope) { scope.spawn(failing()); }), "task broken");
}

}  // namespace
