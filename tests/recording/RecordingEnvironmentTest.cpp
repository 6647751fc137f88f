#include "recording/RecordingEnvironment.h"

#include "RecordingFixture.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

class RecordingEnvironmentTest : public RecordingFixture {
 protected:
  // Another program on the same desktop, which knows the settings and the processLocks.
  std::unique_ptr<RecordingEnvironment> otherProgram() {
    return std::make_unique<RecordingEnvironment>(
        RecordingEnvironment::Dependencies{executor, devices, outputVolume, audioSession, settings.audio(), otherLocks},
        logging);
  }
  QString owed() const { return settings.audio().borrowedVolumes(); }

  FakeProcessLocks otherLocks{processLocks.machine()};
  const std::vector<double> speakersBefore = outputVolume.outputs.at("speakers");
};

TEST_F(RecordingEnvironmentTest, WhatIsMutedAndRaisedIsGivenBack) {
  struct Case {
    std::vector<double> output;
    std::optional<float> microphone;
  };
  const Case cases[] = {{{0.65, 0.325}, 1.0F}, {{0}, 0.25F}, {{1.4, 1.4}, 1.3F}, {{0.5}, std::nullopt}};
  setMediaControl("muteAudio");
  raiseMicrophone();
  for (const Case& one : cases) {
    outputVolume.outputs[outputVolume.defaultUid] = one.output;
    devices.list[0].volume = one.microphone;
    ASSERT_TRUE(start());
    executor.advance(1s);
    EXPECT_EQ(outputVolume.percent(), 0);
    if (one.microphone) {
      EXPECT_EQ(devices.list[0].volume, 0.9F) << "also one that was louder";
    }
    // Headphones are put on meanwhile: the speakers get their volume back, not these.
    outputVolume.outputs["headphones"] = {0.3};
    outputVolume.defaultUid = "headphones";
    stop();
    executor.advance(1s);
    EXPECT_EQ(outputVolume.outputs["speakers"], one.output);
    EXPECT_EQ(outputVolume.outputs["headphones"], std::vector{0.3});
    EXPECT_EQ(devices.list[0].volume, one.microphone);
    EXPECT_TRUE(owed().isEmpty());
    outputVolume.defaultUid = "speakers";
  }
}

TEST_F(RecordingEnvironmentTest, AFailedMuteDoesNotStopTheRecording) {
  setMediaControl("muteAudio");
  for (auto* const error : {&outputVolume.readError, &outputVolume.writeError}) {
    *error = PlatformError{"audio", 1, "no"};
    ASSERT_TRUE(start());
    executor.advance(2s);
    error->reset();
    stop();
    executor.advance(1s);
    EXPECT_EQ(outputVolume.writes, 0) << "what was not changed is not written";
    EXPECT_TRUE(owed().isEmpty());
  }
}

TEST_F(RecordingEnvironmentTest, SlowNeighboursDoNotHoldTheRecorderUp) {
  struct Case {
    const char* mode;
    std::chrono::milliseconds startTakes;
  };
  raiseMicrophone();
  for (const Case& one : {Case{"muteAudio", 300ms}, Case{"pauseMedia", 0ms}}) {
    setMediaControl(one.mode);
    outputVolume.takes = playback.takes = devices.volumeTakes = 800ms;
    const TimePoint before = executor.now();
    ASSERT_TRUE(start());
    EXPECT_EQ(executor.now() - before, one.startTakes) << one.mode;
    // Stopped before the answer has come: what comes late is put back all the same.
    stop();
    EXPECT_LE(executor.now() - before, one.startTakes + 2300ms);
    executor.advance(10s);
    EXPECT_EQ(outputVolume.percent(), 65);
    EXPECT_EQ(playback.playing, 1);
    EXPECT_EQ(playback.paused, 0);
    EXPECT_EQ(devices.list[0].volume, 1.0F);
  }
}

TEST_F(RecordingEnvironmentTest, AQuickRestartNeverTakesSilenceForTheUsersVolume) {
  setMediaControl("muteAudio");
  outputVolume.takes = 200ms;
  ASSERT_TRUE(start());
  executor.advance(1s);
  TaskScope scope(executor);
  scope.spawn(lifecycle.stopRecording());
  scope.spawn(lifecycle.startRecording());
  executor.advance(5s);
  EXPECT_TRUE(lifecycle.isRecording().get());
  EXPECT_EQ(outputVolume.percent(), 0);
  stop();
  executor.advance(5s);
  EXPECT_EQ(outputVolume.outputs[outputVolume.defaultUid], speakersBefore);
}

// Devices remember their volumes while they are away.
TEST_F(RecordingEnvironmentTest, WhatIsUnpluggedMeanwhileGetsItsVolumeWhenItIsBack) {
  setMediaControl("muteAudio");
  raiseMicrophone();
  devices.list[0].volume = 0.4F;
  devices.list.push_back(FakeAudioDevices::microphone(8, "built-in", "Built-in", 0.6F));
  ASSERT_TRUE(start());
  executor.advance(2s);
  const AudioInputDescription microphone = devices.unplug("usb-mic");
  const auto speakers = outputVolume.outputs.extract("speakers");
  ASSERT_EQ(microphone.volume, 0.9F);
  stop();
  executor.advance(1s);
  EXPECT_EQ(devices.list[0].volume, 0.6F) << "the other one is left alone";
  record();  // meanwhile with the other
  EXPECT_EQ(devices.list[0].volume, 0.6F);
  EXPECT_TRUE(owed().contains("Desk Microphone") && owed().contains("SPEAKERS"));
  outputVolume.outputs[speakers.key()] = speakers.mapped();
  devices.plugIn(microphone);
  executor.runReady();
  EXPECT_EQ(devices.list[1].volume, 0.4F);
  EXPECT_EQ(outputVolume.outputs[outputVolume.defaultUid], speakersBefore);
  EXPECT_TRUE(owed().isEmpty());
}

TEST_F(RecordingEnvironmentTest, TheNextStartOfAProgramGivesBackWhatAKilledOneChanged) {
  setMediaControl("muteAudio");
  raiseMicrophone();
  for (const bool isTurnedSince : {false, true}) {
    devices.list[0].volume = 1.3F;
    ASSERT_TRUE(start());
    executor.advance(2s);
    processLocks.kill();  // what was changed stays so
    ASSERT_FALSE(owed().isEmpty());
    if (isTurnedSince) {
      outputVolume.outputs[outputVolume.defaultUid] = {0.1};
      devices.list[0].volume = 0.2F;
    }
    const auto next = otherProgram();
    executor.runReady();
    EXPECT_EQ(outputVolume.outputs[outputVolume.defaultUid], isTurnedSince ? std::vector{0.1} : speakersBefore);
    EXPECT_EQ(devices.list[0].volume, isTurnedSince ? 0.2F : 1.3F);
    EXPECT_TRUE(owed().isEmpty());
    stop();
  }
}

TEST_F(RecordingEnvironmentTest, ARecordingThatBeginsBeforeThatGivesBackWhatTheUserHad) {
  setMediaControl("muteAudio");
  {
    const auto other = otherProgram();
    const auto its = other->change();
    executor.runReady();
    otherLocks.kill();
  }
  ASSERT_EQ(outputVolume.percent(), 0);
  ASSERT_TRUE(start());
  executor.advance(2s);
  EXPECT_EQ(outputVolume.percent(), 0);
  stop();
  executor.advance(1s);
  EXPECT_EQ(outputVolume.outputs[outputVolume.defaultUid], speakersBefore);
}

TEST_F(RecordingEnvironmentTest, WhatALivingProgramChangedIsLeftToIt) {
  setMediaControl("muteAudio");
  raiseMicrophone();
  const auto other = otherProgram();
  const auto its = other->change();
  executor.runReady();
  ASSERT_EQ(outputVolume.percent(), 0);
  ASSERT_TRUE(start());
  executor.advance(2s);
  stop();
  executor.advance(1s);
  EXPECT_EQ(outputVolume.percent(), 0) << "it still records";
  EXPECT_EQ(devices.list[0].volume, 0.9F);
  other->giveBack(its, SerialGate::Pass());
  executor.runReady();
  EXPECT_EQ(outputVolume.outputs[outputVolume.defaultUid], speakersBefore);
  EXPECT_EQ(devices.list[0].volume, 1.0F);
  EXPECT_TRUE(owed().isEmpty());
}

}  // namespace
}  // namespace quillmere
