#include "platform/pulse/PulseAudioRecorder.h"

#include <sys/resource.h>

#include <QCoreApplication>
#include <QUuid>
#include <csignal>

#include "platform/pulse/PulseFixture.h"

namespace quillmere {
namespace {

using Interruption = AudioRecorder::Interruption;

class PulseAudioRecorderTest : public PulseTest {
 protected:
  void watch(AudioRecorder& recorder) {
    recorder.setInterruptionObserver([this](Interruption told) { interruptions.push_back(std::move(told)); });
  }
  // A short recording succeeds.
  bool records() {
    const auto recorder = startedRecorder(recordingPath("short.wav"));
    const bool isHeard = waitForSeconds(*recorder, 0.2);
    run(recorder->stop());
    return isHeard && RecordedWave(recordingPath("short.wav")).isComplete;
  }
  std::vector<Interruption> interruptions;
};

TEST_F(PulseAudioRecorderTest, AToneArrivesWholeAndInTheFormatPromised) {
  const auto tone = playTone(440);
  for (const bool isPrepared : {false, true}) {
    SCOPED_TRACE(isPrepared);
    if (isPrepared) {
      factory->prepare();
      ASSERT_TRUE(waitUntil([&] { return factory->isPrepared(); }));
    }
    const QString path = recordingPath(isPrepared ? "prepared.wav" : "cold.wav");
    const auto recorder = startedRecorder(path);
    ASSERT_TRUE(recorder->isRecording());
    ASSERT_TRUE(waitForSound(*recorder));
    const double heardAt = recorder->recordedSeconds();
    ASSERT_TRUE(waitForSeconds(*recorder, heardAt + 1.5));
    recorder->averagePowerDecibels();
    ASSERT_TRUE(waitForSeconds(*recorder, heardAt + 2));
    EXPECT_NEAR(recorder->averagePowerDecibels(), -9.03, 0.5) << "0.5 / sqrt(2)";
    EXPECT_EQ(recorder->averagePowerDecibels(), -160) << "nothing came since";
    EXPECT_TRUE(recorder->firstSampleLatency());
    EXPECT_FALSE(QFile::permissions(path) & (QFile::ReadGroup | QFile::ReadOther));
    EXPECT_TRUE(RecordedWave(path).isAsPromised) << "valid while it grows";
    const double secondsBefore = recorder->recordedSeconds();
    run(recorder->stop());
    EXPECT_FALSE(recorder->isRecording());
    const RecordedWave wave(path);
    EXPECT_TRUE(wave.isAsPromised);
    EXPECT_TRUE(wave.isComplete);
    EXPECT_DOUBLE_EQ(wave.seconds(), recorder->recordedSeconds());
    EXPECT_GE(wave.seconds(), secondsBefore);
    EXPECT_EQ(wave.faultsInTone(440), 0);
    EXPECT_NEAR(SampleMedia::rms(wave.lastSeconds(0.5)), 0.3535, 0.02);
  }
}

// What was captured before the call of stop() is in the file: it is as long as the time that passed.
TEST_F(PulseAudioRecorderTest, NothingIsMissingAtTheEnd) {
  factory->prepare();
  ASSERT_TRUE(waitUntil([&] { return factory->isPrepared(); }));
  for (int round = 0; round < 5; ++round) {
    const QString path = recordingPath(qPrintable(QStringLiteral("take%1.wav").arg(round)));
    const auto called = std::chrono::steady_clock::now();
    const auto recorder = startedRecorder(path);
    ASSERT_TRUE(waitForSeconds(*recorder, 0.1 + 0.013 * round));
    const std::chrono::duration<double> passed =
        std::chrono::steady_clock::now() - called - *recorder->firstSampleLatency();
    run(recorder->stop());
    EXPECT_GE(RecordedWave(path).seconds(), passed.count() - 0.005);
    ASSERT_TRUE(waitUntil([&] { return factory->isPrepared(); })) << "the next one";
  }
}

TEST_F(PulseAudioRecorderTest, APreparedStreamLeavesTheMicrophoneAlone) {
  factory->prepare();
  ASSERT_TRUE(waitUntil([&] { return factory->isPrepared(); }));
  ASSERT_TRUE(isCaptured());
  EXPECT_TRUE(server.pactl({"list", "source-outputs"}).contains("Corked: yes"));
  // Idle sources may be suspended, whoever is paused on them.
  server.loadModule({"module-suspend-on-idle", "timeout=0"});
  EXPECT_TRUE(waitUntil([&] {
    return server.pactl({"list", "short", "sources"}).split("\n").filter("virtual_mic").filter("SUSPENDED").size() == 1;
  }));
  EXPECT_TRUE(records()) << "wakes it";
  factory.reset();
  EXPECT_TRUE(waitUntil([&] { return !isCaptured(); }));
}

// The chosen microphone, the default one while that is away, and the default one's changes.
TEST_F(PulseAudioRecorderTest, RecordingsTakeTheChosenMicrophoneWhileItIsThere) {
  factory->prepare();
  ASSERT_TRUE(waitUntil([&] { return factory->isPrepared(); }));
  devices->preferInput("second_mic");
  const int module = server.plugIn("second_mic");
  ASSERT_GE(module, 0);
  const auto tone = playTone(300);
  const auto otherTone = playTone(700, "second_mic_feed");
  const auto hears = [&](double hertz, double notThat) {
    const QString path = recordingPath(qPrintable(QUuid::createUuid().toString()));
    const auto recorder = startedRecorder(path);
    EXPECT_TRUE(waitForSound(*recorder));
    EXPECT_TRUE(waitForSeconds(*recorder, recorder->recordedSeconds() + 0.5));
    run(recorder->stop());
    const auto heard = RecordedWave(path).lastSeconds(0.3);
    return SampleMedia::levelAt(heard, hertz, 16000) > 10 * SampleMedia::levelAt(heard, notThat, 16000);
  };
  ASSERT_TRUE(waitUntil([&] { return devices->captureInputUid() == "second_mic"; }));
  EXPECT_TRUE(hears(700, 300)) << "the very next recording";
  devices->preferInput({});
  EXPECT_TRUE(hears(300, 700));
  server.pactl({"set-default-source", "second_mic"});
  ASSERT_TRUE(waitUntil([&] { return devices->captureInputUid() == "second_mic" && factory->isPrepared(); }));
  EXPECT_TRUE(hears(700, 300));
  // Gone, and the list does not say so yet.
  server.pactl({"set-default-source", "virtual_mic"});
  devices->preferInput("second_mic");
  ASSERT_TRUE(waitUntil([&] { return devices->defaultInputUid() == "virtual_mic"; }));
  factory = std::make_unique<PulseAudioRecorderFactory>(*connection, *devices);  // nothing is prepared
  ASSERT_TRUE(server.unloadModule(module));
  EXPECT_EQ(devices->captureInputUid(), "second_mic");
  EXPECT_TRUE(hears(300, 700));
}

TEST_F(PulseAudioRecorderTest, AnUnpluggedMicrophoneEndsTheRecordingAndTheNextUsesAnother) {
  const int module = server.plugIn("travelling_mic");
  ASSERT_GE(module, 0);
  devices->preferInput("travelling_mic");
  ASSERT_TRUE(waitUntil([&] { return devices->captureInputUid() == "travelling_mic"; }));
  factory->prepare();
  const auto tone = playTone(500, "travelling_mic_feed");
  const auto recorder = startedRecorder(recordingPath());
  watch(*recorder);
  ASSERT_TRUE(waitForSound(*recorder));
  ASSERT_TRUE(waitForSeconds(*recorder, recorder->recordedSeconds() + 1));
  ASSERT_TRUE(server.unloadModule(module));
  ASSERT_TRUE(waitUntil([&] { return !interruptions.empty(); }));
  EXPECT_EQ(interruptions[0].kind, Interruption::Kind::deviceGone);
  EXPECT_EQ(interruptions[0].description, "The microphone was disconnected. What was recorded until then is kept.");
  EXPECT_FALSE(recorder->isRecording());
  const RecordedWave wave(recordingPath());
  EXPECT_TRUE(wave.isComplete);
  EXPECT_GE(wave.seconds(), 1);
  EXPECT_DOUBLE_EQ(wave.seconds(), recorder->recordedSeconds());
  run(recorder->stop());  // harmless
  EXPECT_EQ(interruptions.size(), 1u);

  ASSERT_TRUE(waitUntil([&] { return devices->captureInputUid() == "virtual_mic" && factory->isPrepared(); }));
  EXPECT_TRUE(records());
}

TEST_F(PulseAudioRecorderTest, AServerThatEndsEndsTheRecordingAndTheNextServerTakesTheNext) {
  factory->prepare();
  for (const bool isPolite : {false, true}) {
    SCOPED_TRACE(isPolite);
    interruptions.clear();
    const QString path = recordingPath(isPolite ? "terminated.wav" : "killed.wav");
    const auto recorder = startedRecorder(path);
    watch(*recorder);
    ASSERT_TRUE(waitForSeconds(*recorder, 0.5));
    isPolite ? server.terminate() : server.kill();
    ASSERT_TRUE(waitUntil([&] { return !interruptions.empty(); }));
    EXPECT_EQ(interruptions[0].kind, Interruption::Kind::serverGone);
    EXPECT_TRUE(RecordedWave(path).isComplete);
    EXPECT_GE(RecordedWave(path).seconds(), 0.5);
    EXPECT_FALSE(devices->isConnected());
    EXPECT_TRUE(devices->inputs().empty());

    const auto withoutServer = factory->createRecorder();
    const QString lostPath = recordingPath("without.wav");
    const auto refused = run(withoutServer->record(lostPath));
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().description, "The sound server is not running. Please check your sound settings.");
    EXPECT_TRUE(waitUntil([&] { return !QFile::exists(lostPath); }));

    ASSERT_TRUE(server.start());
    ASSERT_TRUE(waitUntil([&] { return devices->isConnected() && factory->isPrepared(); })) << "comes back by itself";
  }
  EXPECT_TRUE(records());
}

TEST_F(PulseAudioRecorderTest, AServerThatDoesNotAnswerIsGivenUpAndUsedAgainWhenItDoes) {
  factory->prepare();
  ASSERT_TRUE(waitUntil([&] { return factory->isPrepared(); }));
  server.setFrozen(true);
  const auto recorder = factory->createRecorder();
  const auto result = run(recorder->record(recordingPath()));
  server.setFrozen(false);
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().description, "The sound server does not answer.");
  EXPECT_TRUE(waitUntil([&] { return !QFile::exists(recordingPath()); }));
  EXPECT_TRUE(records());
}

TEST_F(PulseAudioRecorderTest, AFullDiskEndsTheRecordingAndKeepsWhatWasWritten) {
  std::signal(SIGXFSZ, SIG_IGN);
  const auto recorder = startedRecorder(recordingPath());
  watch(*recorder);
  rlimit before{};
  ::getrlimit(RLIMIT_FSIZE, &before);
  rlimit small = before;
  small.rlim_cur = 32'045;  // an odd end: half a sample fits
  ::setrlimit(RLIMIT_FSIZE, &small);
  const bool isTold = waitUntil([&] { return !interruptions.empty(); });
  ::setrlimit(RLIMIT_FSIZE, &before);
  ASSERT_TRUE(isTold);
  EXPECT_EQ(interruptions[0].kind, Interruption::Kind::writeFailed);
  EXPECT_TRUE(interruptions[0].description.contains("File too large")) << qPrintable(interruptions[0].description);
  const RecordedWave wave(recordingPath());
  EXPECT_TRUE(wave.isComplete);
  EXPECT_GE(wave.seconds(), 0.95);
  run(recorder->stop());
}

TEST_F(PulseAudioRecorderTest, WhatCantBeMadeOrRepeatedIsAnError) {
  QFile(recordingPath("there.wav")).open(QIODevice::WriteOnly);
  for (const auto& [path, code] :
       {std::pair{folder.filePath("no/such/folder/take.wav"), ENOENT}, std::pair{recordingPath("there.wav"), EEXIST}}) {
    const auto recorder = factory->createRecorder();
    const auto result = run(recorder->record(path));
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, code);
    EXPECT_TRUE(result.error().description.startsWith("The recording file could not be created. ("));
  }
  EXPECT_TRUE(QFile::exists(recordingPath("there.wav"))) << "somebody else's";
  const auto recorder = startedRecorder(recordingPath());
  EXPECT_FALSE(run(recorder->record(recordingPath("second.wav"))));
  EXPECT_TRUE(recorder->isRecording());
  run(recorder->stop());
  EXPECT_TRUE(waitUntil([&] { return !isCaptured(); }));
}

TEST_F(PulseAudioRecorderTest, ACancelledStartAndADestroyedRecorderEndTheCapture) {
  {
    TaskScope scope(executor);
    const auto recorder = factory->createRecorder();
    scope.spawn(recorder->record(recordingPath("cancelled.wav")));
    ASSERT_TRUE(waitUntil([&] { return QFile::exists(recordingPath("cancelled.wav")); }));
    scope.cancelAll();
    ASSERT_TRUE(waitUntil([&] { return scope.isIdle(); }));
    const bool cameTooLate = recorder->isRecording();
    run(recorder->stop());
    EXPECT_TRUE(cameTooLate || waitUntil([&] { return !QFile::exists(recordingPath("cancelled.wav")); }));
  }
  auto recorder = startedRecorder(recordingPath("destroyed.wav"));
  ASSERT_TRUE(waitForSeconds(*recorder, 0.3));
  recorder.reset();
  const RecordedWave wave(recordingPath("destroyed.wav"));
  EXPECT_TRUE(wave.isComplete);
  EXPECT_GE(wave.seconds(), 0.3);
  EXPECT_TRUE(waitUntil([&] { return !isCaptured(); }));
}

class WithoutMicrophone : public PulseAudioRecorderTest {
 protected:
  void configure() override { server.removeMicrophone(); }
};

TEST_F(WithoutMicrophone, RecordSaysSoAndAnOutputsMonitorIsNoSubstitute) {
  ASSERT_TRUE(waitUntilListed());
  EXPECT_EQ(devices->defaultInputUid(), std::nullopt);
  ASSERT_EQ(devices->inputs().size(), 1u);
  EXPECT_TRUE(devices->inputs()[0].isMonitor);
  factory->prepare();
  const auto recorder = factory->createRecorder();
  const auto result = run(recorder->record(recordingPath()));
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().description, "No microphone is connected.");
  // Plugged in, it works.
  ASSERT_GE(server.plugIn("late_mic"), 0);
  server.pactl({"set-default-source", "late_mic"});
  ASSERT_TRUE(waitUntil([&] { return factory->isPrepared(); }));
  EXPECT_TRUE(records());
}

// The other half of the next test, in a process of its own: tells what was recorded until somebody kills it.
TEST(PulseAudioRecorderVictim, DISABLED_RecordsUntilItIsKilled) {
  QtExecutor executor;
  PulseConnection::Options options;
  options.server = qEnvironmentVariable("QUILLMERE_TEST_SOUND_SERVER");
  options.mayStartServer = false;
  PulseConnection connection(executor, Logging(), options);
  PulseAudioDevices devices(connection);
  PulseAudioRecorderFactory factory(connection, devices);
  const auto recorder = factory.createRecorder();
  ASSERT_TRUE(runTaskInLoop(executor, recorder->record(qEnvironmentVariable("QUILLMERE_TEST_RECORDING"))));
  waitUntil([&] {
    std::fprintf(stderr, "%.4f\n", recorder->recordedSeconds());
    return false;
  });
}

TEST_F(PulseAudioRecorderTest, AKilledProcessLeavesAPlayableFile) {
  QProcess victim;
  QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
  variables.insert("QUILLMERE_TEST_SOUND_SERVER", server.address());
  variables.insert("QUILLMERE_TEST_RECORDING", recordingPath());
  victim.setProcessEnvironment(variables);
  victim.setStandardOutputFile(QProcess::nullDevice());
  victim.start(QCoreApplication::applicationFilePath(),
               {"--gtest_also_run_disabled_tests", "--gtest_filter=PulseAudioRecorderVictim.*"});
  double told = 0;
  const auto listen = [&] {
    while (victim.canReadLine()) told = std::max(told, victim.readLine().trimmed().toDouble());
  };
  victim.setReadChannel(QProcess::StandardError);
  ASSERT_TRUE(waitUntil([&] {
    listen();
    return told >= 1;
  }));
  victim.kill();
  ASSERT_TRUE(victim.waitForFinished());
  listen();
  const RecordedWave wave(recordingPath());
  EXPECT_TRUE(wave.isAsPromised);
  EXPECT_TRUE(wave.isComplete);
  EXPECT_GE(wave.seconds(), told - 0.1);
}

}  // namespace
}  // namespace quillmere
