#include "recording/SimpleRecorder.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include "support/FakeAudioRecorder.h"
#include "support/ManualExecutor.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

TEST(SimpleRecorderLevelTest, DecibelsBecomeALevel) {
  struct Case {
    float decibels, level;
  };
  const Case cases[] = {{-160, 0},   {-60.001F, 0}, {-60, 0}, {-45, 0.25F},
                        {-30, 0.5F}, {0, 1},        {3, 1},   {std::nanf(""), 0}};
  for (const Case& one : cases) EXPECT_FLOAT_EQ(SimpleRecorder::levelOf(one.decibels), one.level) << one.decibels;
}

TEST(SimpleRecorderTest, MetersEvery33MillisecondsUntilTheStop) {
  const QTemporaryDir folder;
  const QString path = folder.filePath(QStringLiteral("raw.wav"));
  ManualExecutor executor;
  FakeAudioRecorderFactory recorders;
  SimpleRecorder recorder(recorders, executor, Logging());
  recorders.stopTakes = 40ms;
  ASSERT_TRUE(runTask(executor, recorder.start(path)));
  EXPECT_TRUE(recorder.isRecording().get());
  executor.runReady();
  EXPECT_FLOAT_EQ(recorder.audioLevel().get(), 0.5F);
  recorders.decibels = -15;
  executor.advance(32ms);
  EXPECT_FLOAT_EQ(recorder.audioLevel().get(), 0.5F);
  executor.advance(1ms);
  EXPECT_FLOAT_EQ(recorder.audioLevel().get(), 0.75F);
  runTask(executor, recorder.stop());
  EXPECT_FALSE(recorder.isRecording().get());
  EXPECT_EQ(recorder.audioLevel().get(), 0);
  EXPECT_EQ(recorders.stopped, QStringList{path});
  executor.advance(1s);
  EXPECT_EQ(executor.timerCount(), 0u) << "the meter has ended";
  EXPECT_EQ(recorder.audioLevel().get(), 0);
}

}  // namespace
}  // namespace quillmere
