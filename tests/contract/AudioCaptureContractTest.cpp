#include "contract/SoundSides.h"
#include "platform/pulse/PulseAudioCapture.h"
#include "platform/pulse/PulseFixture.h"
#include "support/FakeAudioCapture.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Interruption = AudioCapture::Interruption;

struct FakeSide : FakeRoom {
  std::unique_ptr<AudioCapture> create() { return microphone.create(); }
  void speak() {
    sound = [this] {
      microphone.hear(AudioCapture::Samples16kHz(320, 10'000));
      executor.startTimer(5ms, sound);
    };
    executor.startTimer(0ms, sound);
  }
  bool isCaptured() { return microphone.running > 0; }
  void unplug() { microphone.interrupt({Interruption::Kind::deviceGone, "gone"}); }
  void endServer() { microphone.interrupt({Interruption::Kind::serverGone, "gone"}); }
  void removeMicrophone() { microphone.startError = PlatformError{"audio", 5, "none"}; }
  FakeAudioCaptureFactory microphone;
  std::function<void()> sound;
};

struct PulseSide : PulseRoom {
  bool start() {
    if (!PulseRoom::start()) return false;
    headset = server.plugIn("headset");
    return headset >= 0;
  }
  std::unique_ptr<AudioCapture> create() { return PulseAudioCaptureFactory(*connection, *devices).create(); }
  void speak() { player = playTone(440, "headset_feed"); }
  void unplug() { server.unloadModule(headset); }
  void endServer() { server.kill(); }
  void removeMicrophone() { server.pactl({"unload-module", "module-remap-source"}); }
  std::shared_ptr<QProcess> player;
  int headset = -1;
};

template <typename Side>
class AudioCaptureContract : public SoundContract<Side> {
 protected:
  void SetUp() override {
    SoundContract<Side>::SetUp();
    if (!this->IsSkipped() && !this->HasFatalFailure()) capture = this->create();
  }
  void startSpeaking() {
    const auto started = this->run(capture->start("headset"));
    ASSERT_TRUE(started) << started.error().description.toStdString();
    this->speak();
    for (bool isHeard = false; !isHeard;) {
      const auto samples = this->run(capture->read());
      ASSERT_TRUE(samples && !samples->empty());
      isHeard = std::any_of(samples->begin(), samples->end(), [](auto sample) { return std::abs(sample) > 8000; });
    }
  }
  void expectInterruption(Interruption::Kind kind) {
    for (;;) {
      const auto samples = this->run(capture->read());
      if (!samples) {
        EXPECT_EQ(samples.error().kind, kind);
        EXPECT_FALSE(samples.error().description.isEmpty());
        break;
      }
      ASSERT_FALSE(samples->empty());
    }
    EXPECT_FALSE(this->run(capture->read()));
    this->run(capture->stop());
  }
  std::unique_ptr<AudioCapture> capture;
};
using Sides = testing::Types<FakeSide, PulseSide>;
TYPED_TEST_SUITE(AudioCaptureContract, Sides, SideNames);

TYPED_TEST(AudioCaptureContract, SamplesComeUntilTheStopAndNoneIsLost) {
  this->startSpeaking();
  EXPECT_FALSE(this->run(this->capture->start())) << "once";
  // A cancelled read and a reader that pauses.
  TaskScope scope(this->executor);
  auto reading = scope.spawn(this->capture->read());
  reading.cancel();
  EXPECT_THROW(std::ignore = this->run(reading.join()), Cancelled);
  this->run(sleepFor(200ms));
  const auto late = this->run(this->capture->read());
  ASSERT_TRUE(late);
  EXPECT_GE(late->size(), size_t(16000 / 10)) << "what came meanwhile";
  this->run(this->capture->stop());
  EXPECT_TRUE(waitUntil([this] { return !this->isCaptured(); }));
  for (int pieces = 0;; ++pieces) {
    const auto rest = this->run(this->capture->read());
    ASSERT_TRUE(rest && pieces < 3);
    if (rest->empty()) break;
  }
  this->run(this->capture->stop());
  // The end of the object lets the microphone go, too.
  this->capture = this->create();
  this->startSpeaking();
  this->capture.reset();
  EXPECT_TRUE(waitUntil([this] { return !this->isCaptured(); }));
}

TYPED_TEST(AudioCaptureContract, AnUnpluggedMicrophoneIsToldAfterTheSamples) {
  this->startSpeaking();
  this->unplug();
  this->expectInterruption(Interruption::Kind::deviceGone);
}

TYPED_TEST(AudioCaptureContract, AServerThatEndsIsToldAfterTheSamples) {
  this->startSpeaking();
  this->endServer();
  this->expectInterruption(Interruption::Kind::serverGone);
}

TYPED_TEST(AudioCaptureContract, WithoutAMicrophoneItSaysSo) {
  this->removeMicrophone();
  const auto started = this->run(this->capture->start());
  ASSERT_FALSE(started);
  EXPECT_EQ(started.error().domain, "audio");
  EXPECT_FALSE(started.error().description.isEmpty());
  EXPECT_EQ(this->run(this->capture->read())->size(), 0u);
}

}  // namespace
}  // namespace quillmere
