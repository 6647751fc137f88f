#include "recording/RecordingLifecycle.h"

#include "RecordingFixture.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Interruption = AudioRecorder::Interruption;

class RecordingLifecycleTest : public RecordingFixture {
 protected:
  // Nothing is left of an attempt, and the next one works.
  void expectNoTrace() {
    EXPECT_FALSE(lifecycle.isRecording().get());
    EXPECT_TRUE(recorders.running.empty());
    EXPECT_TRUE(persistence->fetchAllRecordingSessions().empty());
    EXPECT_TRUE(files().isEmpty()) << qPrintable(files().join(u' '));
    EXPECT_EQ(outputVolume.percent(), 65);
    EXPECT_EQ(playback.playing, 1);
    EXPECT_EQ(devices.list[0].volume, 1.0F);
    EXPECT_TRUE(settings.audio().borrowedVolumes().isEmpty());
  }
};

TEST_F(RecordingLifecycleTest, TheRowStandsInTheStoreBeforeTheFirstSample) {
  recorders.startTakes = 10ms;
  TaskScope scope(executor);
  scope.spawn(lifecycle.startRecording());
  executor.runReady();
  ASSERT_EQ(recorders.paths.size(), 1) << "nothing stands between the start and the recorder";
  const auto rows = persistence->fetchUnfinishedRecordingSessions();
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0]->audioFilePath, recorders.paths[0]);
  EXPECT_FALSE(persistence->hasChanges());
  EXPECT_TRUE(processLocks.isTaken(RecordingSessionManager::lockName(*rows[0])));
  EXPECT_FALSE(lifecycle.isRecording().get());
  executor.advance(10ms);
  EXPECT_TRUE(lifecycle.isRecording().get());
}

TEST_F(RecordingLifecycleTest, ARecordingBecomesAFileARowAndAResult) {
  settings.audio().setSelectedMicrophoneId("usb-mic");
  recorders.firstSample = 15ms;
  const TimePoint begin = executor.now();
  const auto started = runTask(executor, lifecycle.startRecording());
  ASSERT_TRUE(started);
  executor.advance(100ms);
  EXPECT_FLOAT_EQ(lifecycle.audioLevel().get(), 0.5F);
  executor.advance(950ms);
  EXPECT_NEAR(lifecycle.recordingDuration().get(), 1.0, 1e-9) << "the timer's last tick";
  const TimePoint before = executor.now();
  const auto result = stop();
  ASSERT_TRUE(result);
  EXPECT_NEAR(result->duration, 1.05, 1e-9) << "the exact time, not the tick";
  EXPECT_EQ(executor.now(), before) << "the stop waits for nothing";
  EXPECT_EQ(result->path, inRecordings(wav));
  EXPECT_EQ(result->firstSampleAt, begin + 15ms);
  EXPECT_EQ(files(), QStringList{wav});
  EXPECT_EQ(result->session, started->session);
  EXPECT_EQ(result->session->audioFilePath, inRecordings(wav));
  EXPECT_EQ(result->session->deviceId, "usb-mic");
  EXPECT_FALSE(stop()) << "nothing runs any more";
  executor.advance(1s);
  EXPECT_EQ(lifecycle.audioLevel().get(), 0) << "the meter has ended";

  EXPECT_TRUE(processLocks.isTaken(RecordingSessionManager::lockName(*result->session))) << "it awaits its row";
  const TranscriptPtr row = sessions.createTranscript(result->session, 1.05, "Mail", result->path);
  EXPECT_EQ(row->recordingSession, result->session);
  EXPECT_FALSE(result->session->status);
  EXPECT_FALSE(persistence->hasChanges());
  EXPECT_TRUE(processLocks.held().empty());
}

TEST_F(RecordingLifecycleTest, NothingChangesWithoutPermissionOrFolder) {
  setMediaControl("muteAudio");
  lifecycle.setHasMicrophonePermission(false);
  auto started = runTask(executor, lifecycle.startRecording());
  ASSERT_FALSE(started);
  EXPECT_EQ(std::get<AudioError>(started.error()).kind, AudioError::Kind::noPermission);

  lifecycle.setHasMicrophonePermission(true);
  defaults.remove("recordingsFolder");  // Documents: the user has to be asked first
  const TimePoint before = executor.now();
  started = runTask(executor, lifecycle.startRecording());
  ASSERT_FALSE(started);
  EXPECT_EQ(std::get<AudioError>(started.error()).kind, AudioError::Kind::recordingFailed);
  EXPECT_EQ(executor.now() - before, 120s);
  EXPECT_EQ(outputVolume.writes, 0);
  EXPECT_TRUE(recorders.paths.isEmpty());
  expectNoTrace();
}

TEST_F(RecordingLifecycleTest, WhatIsTooShortLeavesNothing) {
  struct Case {
    Duration length;
    std::optional<qint64> bytes;
    bool isTooShort;
  };
  const Case cases[] = {{999ms, 64044, true},
                        {1000ms, 4999, true},
                        {1000ms, 5000, false},
                        {999ms, std::nullopt, true},
                        {1000ms, std::nullopt, false}};  // whoever waits for the file finds out
  for (const Case& one : cases) {
    SCOPED_TRACE(one.bytes.value_or(-1));
    recorders.bytesAtStart = recorders.bytesAtStop = one.bytes;
    for (const StopIntent intent : {StopIntent::keep, StopIntent::discard}) {
      ASSERT_TRUE(start());
      executor.advance(one.length);
      const auto result = stop(intent);
      EXPECT_EQ(result->isTooShort, one.isTooShort);
      EXPECT_EQ(result->path.has_value(), !one.isTooShort);
      if (!one.isTooShort) {
        sessions.deleteSession(result->session);
        continue;
      }
      EXPECT_TRUE(reporting.reports.empty()) << "it is expected";
      expectNoTrace();
      EXPECT_TRUE(processLocks.held().empty());
    }
  }
}

TEST_F(RecordingLifecycleTest, WhatIsThrownAwayIsMarkedBeforeTheRecorderStops) {
  recorders.stopTakes = 50ms;
  const auto started = runTask(executor, lifecycle.startRecording());
  executor.advance(2s);
  TaskScope scope(executor);
  auto stopping = scope.spawn(lifecycle.stopRecording(StopIntent::discard));
  executor.advance(10ms);
  EXPECT_EQ(recorders.running.size(), 1u);
  EXPECT_EQ(started->session->status, QString::fromLatin1(RecordingSessionManager::discardedStatus));
  const auto result = runTask(executor, stopping.join());
  EXPECT_EQ(result->path, inRecordings(wav)) << "the file is kept";
  const TranscriptPtr row = sessions.createTranscript(result->session, 2, {}, result->path, "discarded");
  EXPECT_EQ(row->status, "discarded");
  EXPECT_FALSE(row->text) << "nobody transcribes it";
  EXPECT_FALSE(result->session->status);
}

// --- starts and stops that meet

TEST_F(RecordingLifecycleTest, AStartWhileOneRunsFinishesThatOneIntoTheHistory) {
  ASSERT_TRUE(start());
  executor.advance(2s);
  clock.set(clock.now().addSecs(2));
  ASSERT_TRUE(start());
  EXPECT_TRUE(lifecycle.isRecording().get());
  const auto rows = persistence->fetchTranscripts(-1);
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0]->status, "failed");
  EXPECT_EQ(rows[0]->audioFilePath, inRecordings(wav));
  executor.advance(3s);
  EXPECT_NEAR(stop()->duration, 3, 1e-9);
  EXPECT_EQ(files(), (QStringList{wav, "recording_1700000002.wav"}));
  EXPECT_TRUE(persistence->fetchUnfinishedRecordingSessions().empty());
}

TEST_F(RecordingLifecycleTest, AFailedStartLeavesTheOneThatWaitsAlone) {
  setMediaControl("muteAudio");
  recorders.startTakes = 50ms;
  recorders.recordError = PlatformError{"audio", 1, "refused"};
  TaskScope scope(executor);
  auto first = scope.spawn(lifecycle.startRecording());
  auto second = scope.spawn(lifecycle.startRecording());
  executor.advance(60ms);
  recorders.recordError.reset();
  executor.advance(2s);
  EXPECT_FALSE(runTask(executor, first.join()));
  const auto started = runTask(executor, second.join());
  ASSERT_TRUE(started);
  EXPECT_TRUE(lifecycle.isRecording().get());
  EXPECT_EQ(persistence->fetchAllRecordingSessions(), std::vector{started->session});
  EXPECT_EQ(files().size(), 1);
  EXPECT_EQ(outputVolume.percent(), 0) << "muted by the second";
  // Nor is one that runs touched by an attempt that fails before it has a row.
  lifecycle.setHasMicrophonePermission(false);
  EXPECT_FALSE(start());
  EXPECT_TRUE(lifecycle.isRecording().get());
  EXPECT_TRUE(stop()->path);
  EXPECT_EQ(outputVolume.percent(), 65);
}

TEST_F(RecordingLifecycleTest, AStartThatIsCancelledAtAnyMomentLeavesNoTrace) {
  recorders.startTakes = 200ms;
  outputVolume.takes = playback.takes = 40ms;
  devices.volumeTakes = 30ms;
  raiseMicrophone();
  int cancelled = 0;
  for (const char* mode : {"muteAudio", "pauseMedia"}) {
    setMediaControl(mode);
    for (int moment = 0;; ++moment) {
      SCOPED_TRACE(QStringLiteral("%1, moment %2").arg(mode).arg(moment).toStdString());
      TaskScope scope(executor);
      auto starting = scope.spawn(lifecycle.startRecording());
      for (int step = 0; step < moment && !starting.isDone(); ++step)
        if (!executor.runOne()) executor.advance(10ms);
      const bool isRunning = starting.isDone();
      starting.cancel();
      while (!starting.isDone())
        if (!executor.runOne()) executor.advance(10ms);
      if (isRunning) {
        EXPECT_TRUE(lifecycle.isRecording().get()) << "a cancel that comes too late is none";
        executor.advance(2s);
        sessions.deleteSession(stop()->session);
        break;
      }
      expectNoTrace();
      ++cancelled;
      if (HasFailure()) return;
    }
    executor.advance(1s);
  }
  EXPECT_GT(cancelled, 40);
}

TEST_F(RecordingLifecycleTest, ACancelNeverLeavesAStopHalfDone) {
  for (const bool isReplaced : {false, true}) {
    ASSERT_TRUE(start());
    executor.advance(2s);
    recorders.stopTakes = 100ms;
    TaskScope scope(executor);
    auto waiting =
        isReplaced ? scope.spawn(lifecycle.startRecording()) : TaskHandle<Result<StartedRecording, AnyError>>();
    auto stopping = scope.spawn(lifecycle.stopRecording());
    executor.advance(10ms);
    scope.cancelAll();
    executor.advance(1s);
    EXPECT_TRUE(scope.isIdle());
    EXPECT_FALSE(lifecycle.isRecording().get());
    EXPECT_TRUE(persistence->fetchUnfinishedRecordingSessions().empty());
  }
  EXPECT_EQ(files(), (QStringList{wav, "recording_1700000001.wav"}));
}

TEST_F(RecordingLifecycleTest, AFailedStartPutsEverythingBack) {
  raiseMicrophone();
  for (const char* sentence : {"refused", ""}) {
    setMediaControl(*sentence ? "muteAudio" : "pauseMedia");
    recorders.recordError = PlatformError{"audio", 1, QString::fromLatin1(sentence)};
    const auto started = runTask(executor, lifecycle.startRecording());
    ASSERT_FALSE(started);
    EXPECT_EQ(std::get<AudioError>(started.error()).reason,
              QString::fromLatin1(*sentence ? sentence : "Failed to start recording"));
    expectNoTrace();
  }
  recorders.recordError.reset();
  EXPECT_TRUE(record().path) << "and the next one works";
}

TEST_F(RecordingLifecycleTest, AStartDuringALongConversionDoesNotWaitForIt) {
  recorders.bytesAtStop = RecordingFinisher::wavToM4AThresholdBytes;
  encoder.failures = 4;
  ASSERT_TRUE(start());
  executor.advance(2s);
  TaskScope scope(executor);
  auto stopping = scope.spawn(lifecycle.stopRecording());
  executor.runUntil([this] { return encoder.settings.size() == 1; });
  recorders.bytesAtStop = 64044;
  const auto second = runTask(executor, lifecycle.startRecording());
  ASSERT_TRUE(second);
  EXPECT_FALSE(stopping.isDone());
  EXPECT_EQ(runTask(executor, stopping.join())->path, inRecordings(m4a));
  EXPECT_TRUE(lifecycle.isRecording().get());
  EXPECT_FALSE(second->session->endTime) << "the finished one leaves it alone";
  EXPECT_TRUE(stop()->path);
}

// --- interruptions

TEST_F(RecordingLifecycleTest, AnInterruptionIsToldOnceAlsoOneDuringTheStart) {
  std::vector<bool> whileRecording;
  lifecycle.setOnInterrupted([&](const Interruption&) { whileRecording.push_back(lifecycle.isRecording().get()); });
  ASSERT_TRUE(start());
  executor.advance(2s);
  recorders.interrupt({Interruption::Kind::deviceGone, "It went away."});
  executor.advance(60s);
  EXPECT_NEAR(lifecycle.recordingDuration().get(), 2, 1e-9);
  const auto result = stop();
  EXPECT_NEAR(result->duration, 2, 1e-9);
  EXPECT_TRUE(result->interruption);
  EXPECT_TRUE(result->path && QFile::exists(*result->path));

  recorders.interruptsAtStart = Interruption{Interruption::Kind::writeFailed, "The disk is full."};
  EXPECT_TRUE(record().interruption);
  EXPECT_EQ(whileRecording, (std::vector{true, true}));
  recorders.interruptsAtStart.reset();
  EXPECT_FALSE(record().interruption) << "the next one knows nothing of it";
}

}  // namespace
}  // namespace quillmere
