#include "recording/SimpleRecorder.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include "support/FakeAudioRecorder.h"
#include "support/ManualExecutor.h"
#include "support/RecordingLogSink.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

class SimpleRecorderTest : public ::testing::Test {
 protected:
  Result<void, AnyError> start() { return runTask(executor, recorder.start(path)); }

  QTemporaryDir folder;
  QString path = folder.filePath(QStringLiteral("raw.wav"));
  ManualExecutor executor;
  std::shared_ptr<RecordingLogSink> log = std::make_shared<RecordingLogSink>();
  FakeAudioRecorderFactory recorders;
  SimpleRecorder recorder{recorders, executor, Logging(log)};
};

TEST(SimpleRecorderLevelTest, DecibelsBecomeALevel) {
  struct Case {
    float decibels, level;
  };
  const Case cases[] = {{-160, 0},   {-60.001F, 0}, {-60, 0}, {-45, 0.25F},
                        {-30, 0.5F}, {0, 1},        {3, 1},   {std::nanf(""), 0}};
  for (const Case& one : cases) EXPECT_FLOAT_EQ(SimpleRecorder::levelOf(one.decibels), one.level) << one.decibels;
}

TEST_F(SimpleRecorderTest, MetersEvery33MillisecondsUntilTheStop) {
  recorders.stopTakes = 40ms;
  ASSERT_TRUE(start());
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

TEST_F(SimpleRecorderTest, AFailedStartGivesThePlatformsSentence) {
  struct Case {
    const char* sentence;
    const char* reason;
    const char* line;
  };
  const Case cases[] = {{"No microphone.", "No microphone.", "Failed to create AVAudioRecorder: No microphone."},
                        {"", "Failed to start recording", "AVAudioRecorder.record() returned false"}};
  for (const Case& one : cases) {
    recorders.recordError = PlatformError{QStringLiteral("audio"), 28, QString::fromLatin1(one.sentence)};
    const auto started = start();
    ASSERT_FALSE(started);
    EXPECT_EQ(std::get<AudioError>(started.error()),
              (AudioError{AudioError::Kind::recordingFailed, QString::fromLatin1(one.reason)}));
    EXPECT_TRUE(log->contains(QString::fromLatin1(one.line)));
    EXPECT_FALSE(recorder.isRecording().get());
    executor.advance(1s);
    EXPECT_EQ(executor.timerCount(), 0u);
  }
}

TEST_F(SimpleRecorderTest, AnInterruptionIsToldOnceAndTheStopStillCompletes) {
  int told = 0;
  recorder.setOnInterrupted([&](const AudioRecorder::Interruption&) { ++told; });
  ASSERT_TRUE(start());
  executor.advance(100ms);
  recorders.interrupt({AudioRecorder::Interruption::Kind::serverGone, QStringLiteral("The sound server went away.")});
  executor.advance(100ms);
  EXPECT_EQ(told, 1);
  EXPECT_EQ(recorder.audioLevel().get(), 0);
  EXPECT_TRUE(recorder.isRecording().get()) << "until somebody stops it";
  runTask(executor, recorder.stop());
  EXPECT_FALSE(recorder.isRecording().get());
  EXPECT_EQ(recorders.stopped, QStringList{path});
}

TEST_F(SimpleRecorderTest, ACancelledStartLeavesNothingRunningAndACancelledStopCompletesTheFile) {
  recorders.startTakes = recorders.stopTakes = 50ms;
  TaskScope scope(executor);
  const auto cancelInTheMiddle = [&](auto task) {
    auto handle = scope.spawn(std::move(task));
    executor.advance(10ms);
    handle.cancel();
    executor.advance(100ms);
    EXPECT_TRUE(handle.isDone());
  };
  cancelInTheMiddle(recorder.start(path));
  EXPECT_FALSE(recorder.isRecording().get());
  EXPECT_TRUE(recorders.running.empty());
  ASSERT_TRUE(start());
  cancelInTheMiddle(recorder.stop());
  EXPECT_EQ(recorders.stopped, QStringList{path});
}

}  // namespace
}  // namespace quillmere
