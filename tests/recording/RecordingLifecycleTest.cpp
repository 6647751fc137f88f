#include "recording/RecordingLifecycle.h"

#include "RecordingFixture.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Interruption = AudioRecorder::Interruption;

class RecordingLifecycleTest : public RecordingFixture {
 protected:
  RecordingLifecycleTest() {
    lifecycle.setSettingsManager(settings.get());
    lifecycle.setHasMicrophonePermission(true);
  }

  Result<void, AnyError> start() { return runTask(executor, lifecycle.startRecording()); }
  std::optional<RecordingStopResult> stop() { return runTask(executor, lifecycle.stopRecording()); }
  // A whole recording of two seconds.
  RecordingStopResult record() {
    EXPECT_TRUE(start());
    executor.advance(2s);
    auto result = stop();
    EXPECT_TRUE(result);
    return result.value_or(RecordingStopResult());
  }
  void setMediaControl(const char* mode) {
    defaults.setValue(QStringLiteral("mediaControlMode"), QString::fromLatin1(mode));
  }
  const QString wav = QStringLiteral("recording_1700000000.wav");
  const QString m4a = QStringLiteral("recording_1700000000.m4a");

  SimpleRecorder recorder{recorders, executor, logging};
  AudioDeviceManager deviceManager{devices, executor, &reporting, logging};
  AudioSessionManager audioSession{output, playback, clock, logging};
  RecordingLifecycle lifecycle{
      RecordingLifecycle::Dependencies{executor, clock, recorder, converter, media, deviceManager, *sessions,
                                       audioSession, *persistence, folders(), &reporting},
      logging};
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
  EXPECT_EQ(rows[0]->deviceName, QStringLiteral("System Default"));
  EXPECT_EQ(rows[0]->deviceId, std::nullopt);
  EXPECT_EQ(rows[0]->audioFormat, QStringLiteral("WAV PCM 16000Hz 1ch"));
  EXPECT_FALSE(persistence->hasChanges());
  EXPECT_FALSE(lifecycle.isRecording().get());
  executor.advance(10ms);
  EXPECT_TRUE(lifecycle.isRecording().get());
  EXPECT_EQ(sessions->currentRecordingSession(), rows[0]);
  EXPECT_TRUE(log->contains(QStringLiteral("Started recording to file: .incomplete_")));
}

TEST_F(RecordingLifecycleTest, ARecordingBecomesAFileARowAndAResult) {
  runTask(executor, deviceManager.selectDevice(AudioDevice{"usb-mic", "Desk Microphone", "usb-mic"}));
  std::vector<bool> states;
  const auto watching = lifecycle.isRecording().observe([&](bool on) { states.push_back(on); });
  recorders.firstSample = 15ms;
  const TimePoint begin = executor.now();
  ASSERT_TRUE(start());
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
  EXPECT_EQ(kept(), QStringList{wav});
  EXPECT_EQ(lifecycle.lastRecordingURL().get(), result->path);
  EXPECT_EQ(lifecycle.recordingDuration().get(), 0);
  EXPECT_EQ(lifecycle.audioLevel().get(), 0);
  EXPECT_EQ(states, (std::vector{true, false}));
  ASSERT_TRUE(result->session);
  EXPECT_TRUE(result->session->endTime);
  EXPECT_EQ(result->session->audioFilePath, inRecordings(wav));
  EXPECT_EQ(result->session->durationInSeconds, result->duration);
  EXPECT_EQ(result->session->deviceId, QStringLiteral("usb-mic"));
  EXPECT_FALSE(persistence->hasChanges());
  EXPECT_TRUE(log->contains(QStringLiteral("WAV file size (62KB) is under 25MB - using WAV: ") + wav));
  EXPECT_FALSE(log->contains(QStringLiteral("checks"))) << "ready at the first look";
  EXPECT_EQ(executor.timerCount(), 0u);
  EXPECT_FALSE(stop()) << "nothing runs any more";
}

TEST_F(RecordingLifecycleTest, NothingChangesWithoutPermissionOrFolder) {
  setMediaControl("muteAudio");
  lifecycle.setHasMicrophonePermission(false);
  auto started = start();
  ASSERT_FALSE(started);
  EXPECT_EQ(std::get<AudioError>(started.error()).kind, AudioError::Kind::noPermission);

  lifecycle.setHasMicrophonePermission(true);
  defaults.remove(QStringLiteral("recordingsFolder"));  // Documents: the user has to be asked first
  const TimePoint before = executor.now();
  started = start();
  ASSERT_FALSE(started);
  EXPECT_EQ(std::get<AudioError>(started.error()).kind, AudioError::Kind::recordingFailed);
  EXPECT_EQ(executor.now() - before, 120s);
  EXPECT_TRUE(output.written.empty());
  EXPECT_TRUE(recorders.paths.isEmpty());
  EXPECT_TRUE(persistence->fetchAllRecordingSessions().empty());
}

TEST_F(RecordingLifecycleTest, WithoutSettingsItRecordsIntoDocuments) {
  lifecycle.setSettingsManager(nullptr);
  EXPECT_EQ(record().path, documents() + QStringLiteral("/Recordings/") + wav);
}

TEST_F(RecordingLifecycleTest, TheSizeDecidesWhatBecomesOfTheFile) {
  struct Case {
    qint64 bytes;
    bool isM4A;
    bool isTooShort;
  };
  const Case cases[] = {{4999, false, true}, {5000, false, false}, {26214399, false, false}, {26214400, true, false}};
  for (const Case& one : cases) {
    log->clear();
    reporting.breadcrumbs.clear();
    recorders.bytesAtStop = one.bytes;
    const RecordingStopResult result = record();
    const QString name = one.isM4A ? m4a : wav;
    EXPECT_EQ(result.path, inRecordings(name)) << one.bytes;
    EXPECT_EQ(kept(), QStringList{name}) << one.bytes;
    EXPECT_EQ(log->contains(QStringLiteral("Raw audio file too small after 20 checks: 4999 bytes (minimum: 5000)")),
              one.isTooShort);
    EXPECT_EQ(breadcrumbs(QStringLiteral("Audio finalization error")), one.isTooShort);
    EXPECT_EQ(result.session->audioFormat,
              one.isM4A ? QStringLiteral("M4A AAC 16000Hz 1ch") : QStringLiteral("WAV PCM 16000Hz 1ch"));
    EXPECT_TRUE(reporting.reports.empty()) << "too short is expected";
    QFile::remove(inRecordings(name));
  }
}

TEST_F(RecordingLifecycleTest, AFileThatGrowsLateIsWaitedFor) {
  recorders.bytesAtStop = 100;
  ASSERT_TRUE(start());
  executor.advance(2s);
  executor.startTimer(120ms, [this] { FakeAudioRecorderFactory::fill(recorders.paths[0], 6000); });
  const auto result = stop();
  EXPECT_EQ(result->path, inRecordings(wav));
  EXPECT_EQ(log->count(QStringLiteral("Raw audio file ready after 4 checks (6000 bytes)")), 1);
}

TEST_F(RecordingLifecycleTest, TheLadderOfTheConversion) {
  struct Case {
    int failures;
    bool isExportable;
    std::chrono::milliseconds waited;
    const char* line;
  };
  const Case cases[] = {{0, true, 0ms, "Compressed to M4A 16000Hz 1ch @ 64 kbps (attempt 1): "},
                        {1, true, 100ms, "(attempt 2): "},
                        {4, true, 1500ms, "(attempt 5): "},
                        {5, true, 1500ms, "M4A conversion failed after 5 attempts"},
                        {5, false, 1500ms, "All M4A conversion methods failed - keeping oversized WAV"}};
  recorders.bytesAtStop = 26214400 + 5000000;
  for (const Case& one : cases) {
    SCOPED_TRACE(one.line);
    encoder.failures = one.failures;
    encoder.canExport = one.isExportable;
    encoder.settings.clear();
    ASSERT_TRUE(start());
    executor.advance(2s);
    const TimePoint before = executor.now();
    const auto result = stop();
    const QString name = one.isExportable ? m4a : wav;
    EXPECT_EQ(result->path, inRecordings(name));
    EXPECT_EQ(result->session->audioFilePath, inRecordings(name));
    EXPECT_EQ(kept(), QStringList{name});
    EXPECT_EQ(int(encoder.settings.size()), std::min(one.failures + 1, 5));
    EXPECT_EQ(executor.now() - before, one.waited);
    EXPECT_TRUE(log->contains(QString::fromUtf8(one.line)));
    EXPECT_EQ(result->conversionWarning.value_or(QString()).contains(QStringLiteral("29 MB")), !one.isExportable);
    QFile::remove(inRecordings(name));
  }
}

TEST_F(RecordingLifecycleTest, AFileThatCantBeReadIsReportedAndKept) {
  media.openError = MediaError::Kind::cannotOpen;
  const RecordingStopResult result = record();
  EXPECT_EQ(result.path, inRecordings(wav));
  EXPECT_EQ(kept(), QStringList{wav});
  ASSERT_EQ(reporting.reports.size(), 1u);
  EXPECT_EQ(reporting.reports[0].options.message, QStringLiteral("Audio finalization failed"));
  const QVariantMap& extra = reporting.reports[0].options.extra;
  EXPECT_EQ(extra.value(QStringLiteral("shortReason")), QStringLiteral("unknown"));
  EXPECT_EQ(extra.value(QStringLiteral("rawSizeBytes")).toLongLong(), 64044);
  EXPECT_EQ(result.session->audioFormat, QStringLiteral("WAV (unknown)"));
}

TEST_F(RecordingLifecycleTest, AFileThatCantBeRenamedIsLeftForTheRecovery) {
  ASSERT_TRUE(start());
  executor.advance(2s);
  ASSERT_TRUE(QDir().mkpath(inRecordings(wav) + QStringLiteral("/in the way")));
  const auto result = stop();
  ASSERT_TRUE(result);
  EXPECT_FALSE(result->path);
  EXPECT_TRUE(QFile::exists(recorders.paths[0]));
  EXPECT_EQ(persistence->fetchUnfinishedRecordingSessions().size(), 1u);
  // The next attempt fails before it has a row; its clean-up must not reach the recording before it.
  lifecycle.setHasMicrophonePermission(false);
  EXPECT_FALSE(start());
  sessions->deleteCurrentSession();
  EXPECT_TRUE(QFile::exists(recorders.paths[0]));
  EXPECT_EQ(persistence->fetchUnfinishedRecordingSessions().size(), 1u);
}

TEST_F(RecordingLifecycleTest, AnOlderRecordingOfTheSameSecondIsNotReplaced) {
  record();
  EXPECT_EQ(record().path, inRecordings(QStringLiteral("recording_1700000001.wav"))) << "the clock stands still here";
  EXPECT_EQ(kept().size(), 2);
}

// --- starts and stops that meet

TEST_F(RecordingLifecycleTest, AStartWhileOneRunsFinishesThatOne) {
  sessions->setTracksUntilSettled(true);
  ASSERT_TRUE(start());
  executor.advance(2s);
  clock.set(clock.now().addSecs(2));
  ASSERT_TRUE(start());
  EXPECT_TRUE(lifecycle.isRecording().get());
  executor.advance(3s);
  const auto result = stop();
  EXPECT_NEAR(result->duration, 3, 1e-9);
  EXPECT_EQ(kept(), (QStringList{wav, QStringLiteral("recording_1700000002.wav")}));
  EXPECT_TRUE(persistence->fetchUnfinishedRecordingSessions().empty());
  EXPECT_EQ(persistence->fetchAllRecordingSessions().size(), 2u);
  EXPECT_EQ(
      persistence->fetchRecordingSessionsWithStatus(QString::fromLatin1(RecordingSessionManager::unsettledStatus)),
      std::vector{result->session})
      << "nobody gets the older one's result, so that nobody else could settle it";
}

TEST_F(RecordingLifecycleTest, TwoAtOnceTakeTurns) {
  recorders.startTakes = recorders.stopTakes = 20ms;
  TaskScope scope(executor);
  scope.spawn(lifecycle.startRecording());
  scope.spawn(lifecycle.startRecording());
  executor.advance(5s);
  EXPECT_EQ(recorders.paths.size(), 2);
  EXPECT_EQ(recorders.running.size(), 1u);
  auto first = scope.spawn(lifecycle.stopRecording());
  auto second = scope.spawn(lifecycle.stopRecording());
  executor.advance(1s);
  EXPECT_TRUE(runTask(executor, first.join()).has_value());
  EXPECT_FALSE(runTask(executor, second.join()).has_value());
  EXPECT_TRUE(recorders.running.empty());
  EXPECT_TRUE(persistence->fetchUnfinishedRecordingSessions().empty());
}

TEST_F(RecordingLifecycleTest, AStartDuringALongConversionDoesNotWaitForIt) {
  recorders.bytesAtStop = 26214400;
  encoder.failures = 4;
  ASSERT_TRUE(start());
  executor.advance(2s);
  TaskScope scope(executor);
  auto stopping = scope.spawn(lifecycle.stopRecording());
  executor.runUntil([this] { return log->contains(QStringLiteral("M4A conversion attempt 1 failed")); });
  recorders.bytesAtStop = 64044;
  ASSERT_TRUE(start());
  EXPECT_FALSE(stopping.isDone());
  const QString second = sessions->currentRecordingSession()->audioFilePath.value();
  const auto first = runTask(executor, stopping.join());
  EXPECT_EQ(first->path, inRecordings(m4a));
  EXPECT_TRUE(lifecycle.isRecording().get());
  EXPECT_EQ(sessions->currentRecordingSession()->audioFilePath, second) << "the finished one leaves it alone";
  EXPECT_TRUE(stop()->path);
}

TEST_F(RecordingLifecycleTest, ACancelNeverLeavesAStartOrAStopHalfDone) {
  recorders.startTakes = recorders.stopTakes = 50ms;
  TaskScope scope(executor);
  auto starting = scope.spawn(lifecycle.startRecording());
  executor.advance(10ms);
  starting.cancel();
  executor.advance(2s);
  EXPECT_TRUE(starting.isDone());
  EXPECT_TRUE(lifecycle.isRecording().get());
  auto stopping = scope.spawn(lifecycle.stopRecording());
  executor.advance(10ms);
  stopping.cancel();
  executor.advance(1s);
  EXPECT_TRUE(stopping.isDone());
  EXPECT_EQ(kept(), QStringList{wav});
  EXPECT_TRUE(persistence->fetchUnfinishedRecordingSessions().empty());
}

// --- interruptions

TEST_F(RecordingLifecycleTest, AMicrophoneThatVanishesLeavesWhatWasSaid) {
  int told = 0;
  lifecycle.setOnInterrupted([&](const Interruption&) { ++told; });
  ASSERT_TRUE(start());
  executor.advance(2s);
  recorders.interrupt({Interruption::Kind::deviceGone, QStringLiteral("It went away.")});
  executor.advance(60s);
  EXPECT_EQ(told, 1);
  EXPECT_TRUE(lifecycle.isRecording().get());
  EXPECT_NEAR(lifecycle.recordingDuration().get(), 2, 1e-9);
  const auto result = stop();
  EXPECT_NEAR(result->duration, 2, 1e-9);
  ASSERT_TRUE(result->interruption);
  EXPECT_EQ(result->interruption->description, QStringLiteral("It went away."));
  EXPECT_TRUE(result->path && QFile::exists(*result->path));
  EXPECT_EQ(result->session->durationInSeconds, result->duration);
  EXPECT_FALSE(record().interruption) << "the next one knows nothing of it";
}

TEST_F(RecordingLifecycleTest, AnInterruptionDuringTheStartIsToldWhenItRuns) {
  recorders.interruptsAtStart = Interruption{Interruption::Kind::writeFailed, QStringLiteral("The disk is full.")};
  std::vector<bool> whileRecording;
  lifecycle.setOnInterrupted([&](const Interruption&) { whileRecording.push_back(lifecycle.isRecording().get()); });
  ASSERT_TRUE(start());
  executor.advance(1s);
  EXPECT_EQ(whileRecording, std::vector{true});
  EXPECT_TRUE(stop()->interruption);
}

// --- what other programs play

TEST_F(RecordingLifecycleTest, AFailedMuteDoesNotStopTheRecording) {
  setMediaControl("muteAudio");
  output.writeError = PlatformError{QStringLiteral("audio"), 1, QStringLiteral("no")};
  ASSERT_TRUE(start());
  EXPECT_TRUE(log->contains(QStringLiteral("Failed to mute audio environment, continuing recording")));
  output.writeError.reset();
  stop();
  EXPECT_TRUE(output.written.empty());
}

TEST_F(RecordingLifecycleTest, SlowNeighboursDoNotHoldTheRecorderUp) {
  struct Case {
    const char* mode;
    std::chrono::milliseconds startTakes;
  };
  for (const Case& one : {Case{"muteAudio", 300ms}, Case{"pauseMedia", 0ms}}) {
    setMediaControl(one.mode);
    output.takes = playback.takes = 800ms;
    const TimePoint before = executor.now();
    ASSERT_TRUE(start());
    EXPECT_EQ(executor.now() - before, one.startTakes) << one.mode;
    // Stopped before the answer has come: what comes late is put back all the same.
    const auto result = stop();
    EXPECT_TRUE(result->path);
    EXPECT_LE(executor.now() - before, one.startTakes + 2300ms);
    executor.advance(10s);
    EXPECT_EQ(output.current, 65);
    EXPECT_EQ(playback.playing, 1);
    EXPECT_EQ(playback.paused, 0);
  }
}

TEST_F(RecordingLifecycleTest, AQuickRestartNeverTakesSilenceForTheUsersVolume) {
  setMediaControl("muteAudio");
  output.takes = 200ms;
  ASSERT_TRUE(start());
  executor.advance(1s);
  TaskScope scope(executor);
  scope.spawn(lifecycle.stopRecording());
  scope.spawn(lifecycle.startRecording());
  executor.advance(5s);
  EXPECT_TRUE(lifecycle.isRecording().get());
  EXPECT_EQ(output.current, 0);
  stop();
  executor.advance(5s);
  EXPECT_EQ(output.current, 65);
}

TEST_F(RecordingLifecycleTest, AFailedStartPutsEverythingBack) {
  recorders.recordError = PlatformError{QStringLiteral("audio"), 1, QStringLiteral("refused")};
  defaults.setValue(QStringLiteral("autoIncreaseMicVolume"), true);
  for (const char* mode : {"muteAudio", "pauseMedia"}) {
    setMediaControl(mode);
    const auto started = start();
    ASSERT_FALSE(started);
    EXPECT_EQ(std::get<AudioError>(started.error()).reason, QStringLiteral("refused"));
    EXPECT_FALSE(lifecycle.isRecording().get());
    EXPECT_EQ(output.current, 65);
    EXPECT_EQ(playback.playing, 1);
    EXPECT_EQ(devices.list[0].volume, 1.0F);
    sessions->deleteCurrentSession();
    EXPECT_TRUE(persistence->fetchAllRecordingSessions().empty());
    EXPECT_TRUE(kept().isEmpty());
  }
  recorders.recordError.reset();
  EXPECT_TRUE(record().path) << "and the next one works";
}

TEST_F(RecordingLifecycleTest, TheMicrophonesVolumeIsRaisedAndGivenBack) {
  struct Case {
    std::optional<float> before;
    const char* line;
  };
  const Case cases[] = {{1.0F, "🎚️ [ASYNC] SUCCESS - Volume changed from 100% → 90%"},
                        {0.25F, "🎚️ [ASYNC] SUCCESS - Volume changed from 25% → 90%"},
                        {std::nullopt, "🎚️ [ASYNC] Current volume: nil (unsupported)"}};
  defaults.setValue(QStringLiteral("autoIncreaseMicVolume"), true);
  for (const Case& one : cases) {
    devices.list[0].volume = one.before;
    devices.refusesVolume = !one.before;
    devices.volumesSet.clear();
    ASSERT_TRUE(start());
    executor.advance(1s);
    if (one.before) {
      EXPECT_EQ(devices.list[0].volume, 0.9F);
    }
    EXPECT_TRUE(log->contains(QString::fromUtf8(one.line)));
    stop();
    executor.advance(1s);
    EXPECT_EQ(devices.list[0].volume, one.before);
    EXPECT_EQ(devices.volumesSet.size(), one.before ? 2u : 1u);
  }
}

TEST_F(RecordingLifecycleTest, ARaiseThatEndsBehindTheStopIsUndoneToo) {
  defaults.setValue(QStringLiteral("autoIncreaseMicVolume"), true);
  devices.volumeTakes = 900ms;
  const TimePoint before = executor.now();
  ASSERT_TRUE(start());
  EXPECT_EQ(executor.now(), before) << "nobody waits for the volume";
  devices.volumeTakes = 0ms;
  stop();
  executor.advance(5s);
  EXPECT_EQ(devices.list[0].volume, 1.0F);
}

// --- the conversion for storage

class BackgroundConversionTest : public RecordingLifecycleTest {
 protected:
  BackgroundConversionTest() {
    QDir().mkpath(recordings());
    transcript = persistence->createTranscript(2, QStringLiteral("Default"), path);
    transcript->recordingSession = persistence->insertRecordingSession();
    persistence->save();
    FakeAudioRecorderFactory::fill(path, 64044);
  }
  void convert() { runTask(executor, lifecycle.convertInBackground(path, transcript)); }

  QString path = inRecordings(wav);
  TranscriptPtr transcript;
};

TEST_F(BackgroundConversionTest, TheRowsFollowTheFile) {
  for (const int failures : {0, 1}) {
    encoder.failures = failures;
    FakeAudioRecorderFactory::fill(path, 64044);
    convert();
    EXPECT_EQ(kept(), QStringList{m4a});
    EXPECT_EQ(transcript->audioFilePath, inRecordings(m4a));
    EXPECT_EQ(transcript->recordingSession->audioFilePath, inRecordings(m4a));
    EXPECT_FALSE(persistence->hasChanges());
  }
  EXPECT_EQ(breadcrumbs(QStringLiteral("Background WAV→M4A conversion succeeded")), 1);
  EXPECT_EQ(breadcrumbs(QStringLiteral("Background WAV→M4A conversion succeeded (fallback)")), 1);
}

TEST_F(BackgroundConversionTest, AFailureKeepsTheWavAndOtherFilesAreLeftAlone) {
  encoder.failures = 1;
  encoder.canExport = false;
  convert();
  EXPECT_EQ(kept(), QStringList{wav});
  EXPECT_EQ(transcript->audioFilePath, path);
  EXPECT_EQ(breadcrumbs(QStringLiteral("Background WAV→M4A conversion failed (both methods)")), 1);
  path = inRecordings(QStringLiteral("talk.flac"));
  convert();
  EXPECT_EQ(encoder.settings.size(), 1u);
  EXPECT_TRUE(log->contains(QStringLiteral("Skipping background M4A conversion - file is not WAV: talk.flac")));
}

TEST_F(BackgroundConversionTest, ARecordingDeletedMeanwhileDoesNotComeBack) {
  encoder.onOpen = [this] { QFile::remove(path); };
  convert();
  EXPECT_EQ(transcript->audioFilePath, path);
  EXPECT_TRUE(kept().isEmpty()) << qPrintable(kept().join(u' '));
}

}  // namespace
}  // namespace quillmere
