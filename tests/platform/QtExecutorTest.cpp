#include "platform/qt/QtExecutor.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include "base/async/Async.h"
#include "support/RunTask.h"
#include "support/WaitUntil.h"

using namespace quillmere;
using namespace std::chrono_literals;

namespace {

TEST(QtExecutorTest, ANestedEventLoopServesWhatIsQueuedAfterTheRunningFunction) {
  for (const bool isInTimer : {false, true}) {
    QtExecutor executor;
    QString trace;
    const auto outer = [&] {
      QEventLoop nested;
      executor.post([&] { trace += u'c'; });
      executor.startTimer(1ms, [&] {
        trace += u'd';
        nested.quit();
      });
      trace += u'a';
      nested.exec();
      trace += u'e';
    };
    if (isInTimer)
      executor.startTimer(0ms, outer);
    else
      executor.post(outer);
    executor.startTimer(0ms, [&] { trace += u'b'; });
    waitUntil([&] { return trace.endsWith(u'e'); });
    EXPECT_EQ(trace, "acbde") << isInTimer;
  }
}

TEST(QtExecutorTest, WhatStartsItselfAgainWithoutDelayLetsQtsOwnEventsThrough) {
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
    EXPECT_TRUE(waitUntil([&] { return isDone; }));
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
