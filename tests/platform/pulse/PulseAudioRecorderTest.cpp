#include "platform/pulse/PulseAudioRecorder.h"

#include <sys/resource.h>

#include <QUuid>
#include <csignal>

#include "platform/pulse/PulseFixture.h"

namespace quillmere {
namespace {

using Interruption = AudioRecorder::Interruption;

class PulseAudioRecorderTest : public PulseTest {
 protected:
  // A short recording succeeds.
  bool records() {
    const auto recorder = startedRecorder(recordingPath("short.wav"));
    const bool isHeard = waitForSeconds(*recorder, 0.2);
    run(recorder->stop());
    return isHeard && RecordedWave(recordingPath("short.wav")).isComplete;
  }
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
    ASSERT_TRUE(waitForSound(*recorder));
    const double heardAt = recorder->recordedSeconds();
    ASSERT_TRUE(waitForSeconds(*recorder, heardAt + 1.5));
    recorder->averagePowerDecibels();
    ASSERT_TRUE(waitForSeconds(*recorder, heardAt + 2));
    EXPECT_NEAR(recorder->averagePowerDecibels(), -9.03, 0.5) << "0.5 / sqrt(2)";
    EXPECT_TRUE(recorder->firstSampleLatency());
    EXPECT_FALSE(QFile::permissions(path) & (QFile::ReadGroup | QFile::ReadOther));
    // What a reader sees now is what a killed process leaves.
    const double secondsBefore = recorder->recordedSeconds();
    const RecordedWave growing(path);
    EXPECT_TRUE(growing.isAsPromised);
    EXPECT_GE(growing.seconds(), secondsBefore - 0.1);
    run(recorder->stop());
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
  std::vector<Interruption> interruptions;
  recorder->setInterruptionObserver([&](const Interruption& told) { interruptions.push_back(told); });
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

TEST_F(PulseAudioRecorderTest, AServerThatLetsNobodyInIsARefusal) {
  const QString port = freePort();
  ASSERT_GE(servePort(port, "auth-cookie=other-cookie"), 0);
  connect(addressOf(port));
  const auto result = run(factory->createRecorder()->record(recordingPath()));
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().description,
            "Quillmere may not use the microphone. Please allow it in the system settings.");
}

TEST_F(PulseAudioRecorderTest, WithoutAMicrophoneItSaysSoAndALateOneIsUsed) {
  server.pactl({"unload-module", "module-remap-source"});
  ASSERT_TRUE(waitUntil([&] { return devices->isConnected() && !devices->defaultInputUid(); }));
  factory->prepare();
  const auto result = run(factory->createRecorder()->record(recordingPath()));
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().description, "No microphone is connected.") << "an output's monitor is no substitute";
  ASSERT_GE(server.plugIn("late_mic"), 0);
  server.pactl({"set-default-source", "late_mic"});
  ASSERT_TRUE(waitUntil([&] { return factory->isPrepared(); }));
  EXPECT_TRUE(records());
}

}  // namespace
}  // namespace quillmere
