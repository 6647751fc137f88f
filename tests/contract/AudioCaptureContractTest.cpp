#include "platform/pulse/PulseAudioCapture.h"
#include "platform/qt/QtExecutor.h"
#include "support/FakeAudioCapture.h"
#include "support/PulseServer.h"
#include "support/RunTask.h"
#include "support/SampleMedia.h"
#include "support/TestTexts.h"
#include "support/WaitUntil.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Interruption = AudioCapture::Interruption;

// What holds for every AudioCapture, on the fake and on a sound server of the test.
struct FakeRoom {
  QtExecutor executor;
  FakeAudioCaptureFactory microphone;
  static bool isAvailable() { return true; }
  bool start() { return true; }
  AudioCaptureFactory& factory() { return microphone; }
  void speak() {
    sound = [this] {
      microphone.hear(AudioCapture::Samples16kHz(320, 10'000));
      executor.startTimer(5ms, sound);
    };
    executor.startTimer(0ms, sound);
  }
  bool isCaptured() { return microphone.running > 0; }
  QString uid() { return "microphone"; }
  void unplug() { microphone.interrupt({Interruption::Kind::deviceGone, "gone"}); }
  void endServer() { microphone.interrupt({Interruption::Kind::serverGone, "gone"}); }
  void removeMicrophone() { microphone.startError = PlatformError{"audio", 5, "none"}; }
  std::function<void()> sound;
};

struct RealRoom {
  TestTexts texts;
  QtExecutor executor;
  PulseServer server;
  SampleMedia media;
  std::unique_ptr<PulseConnection> connection;
  std::unique_ptr<PulseAudioDevices> devices;
  std::unique_ptr<PulseAudioCaptureFactory> microphones;
  std::shared_ptr<QProcess> player;
  int plugged = -1;

  static bool isAvailable() { return PulseServer::isAvailable(); }
  bool start() {
    if (!server.start()) return false;
    plugged = server.plugIn("headset");
    PulseConnection::Options options;
    options.server = server.address();
    options.mayStartServer = false;
    options.firstPause = 20ms;
    connection = std::make_unique<PulseConnection>(executor, Logging(), options);
    devices = std::make_unique<PulseAudioDevices>(*connection);
    microphones = std::make_unique<PulseAudioCaptureFactory>(*connection, *devices);
    return true;
  }
  AudioCaptureFactory& factory() { return *microphones; }
  void speak() {
    media.write("tone.wav", SampleMedia::wav(48000, 1, 60 * 48000, [](qint64 frame, int) {
                  return 0.5 * std::sin(2 * M_PI * 440 * double(frame) / 48000);
                }));
    player = server.play(media.path("tone.wav"), "headset_feed");
  }
  bool isCaptured() { return server.pactl({"list", "source-outputs"}).contains("Dictation"); }
  QString uid() { return "headset"; }
  void unplug() { server.unloadModule(plugged); }
  void endServer() { server.kill(); }
  void removeMicrophone() { server.pactl({"unload-module", "module-remap-source"}); }
};

template <typename Room>
class AudioCaptureContract : public testing::Test {
 protected:
  void SetUp() override {
    if (!Room::isAvailable()) GTEST_SKIP() << "pulseaudio, pactl and paplay are needed";
    enterRoom();
  }
  void enterRoom() {
    capture.reset();
    room.emplace();
    ASSERT_TRUE(room->start());
    capture = room->factory().create();
  }
  template <typename T>
  T run(Task<T> task) {
    return runTaskInLoop(room->executor, std::move(task));
  }
  void startSpeaking() {
    const auto started = run(capture->start(room->uid()));
    ASSERT_TRUE(started) << started.error().description.toStdString();
    room->speak();
    for (bool isHeard = false; !isHeard;) {
      const auto samples = run(capture->read());
      ASSERT_TRUE(samples && !samples->empty());
      isHeard = std::any_of(samples->begin(), samples->end(), [](auto sample) { return std::abs(sample) > 8000; });
    }
  }
  std::optional<Room> room;
  std::unique_ptr<AudioCapture> capture;
};

using Rooms = testing::Types<FakeRoom, RealRoom>;
TYPED_TEST_SUITE(AudioCaptureContract, Rooms);

TYPED_TEST(AudioCaptureContract, SamplesComeUntilTheStopAndNoneIsLost) {
  this->startSpeaking();
  EXPECT_FALSE(this->run(this->capture->start())) << "once";
  // A cancelled read and a reader that pauses.
  TaskScope scope(this->room->executor);
  auto reading = scope.spawn(this->capture->read());
  reading.cancel();
  EXPECT_THROW(std::ignore = this->run(reading.join()), Cancelled);
  this->run(sleepFor(200ms));
  const auto late = this->run(this->capture->read());
  ASSERT_TRUE(late);
  EXPECT_GE(late->size(), size_t(16000 / 10)) << "what came meanwhile";
  this->run(this->capture->stop());
  EXPECT_TRUE(waitUntil([this] { return !this->room->isCaptured(); }));
  for (int pieces = 0;; ++pieces) {
    const auto rest = this->run(this->capture->read());
    ASSERT_TRUE(rest && pieces < 3);
    if (rest->empty()) break;
  }
  this->run(this->capture->stop());
}

TYPED_TEST(AudioCaptureContract, AnInterruptionComesAfterTheSamples) {
  for (const auto kind : {Interruption::Kind::deviceGone, Interruption::Kind::serverGone}) {
    this->enterRoom();
    this->startSpeaking();
    if (kind == Interruption::Kind::deviceGone)
      this->room->unplug();
    else
      this->room->endServer();
    for (;;) {
      const auto samples = this->run(this->capture->read());
      if (samples) {
        ASSERT_FALSE(samples->empty());
        continue;
      }
      EXPECT_EQ(samples.error().kind, kind);
      EXPECT_FALSE(samples.error().description.isEmpty());
      break;
    }
    EXPECT_FALSE(this->run(this->capture->read()));
    this->run(this->capture->stop());
  }
}

TYPED_TEST(AudioCaptureContract, WithoutAMicrophoneItSaysSo) {
  this->room->removeMicrophone();
  const auto started = this->run(this->capture->start());
  ASSERT_FALSE(started);
  EXPECT_EQ(started.error().domain, "audio");
  EXPECT_FALSE(started.error().description.isEmpty());
  EXPECT_EQ(this->run(this->capture->read())->size(), 0u);
}

TYPED_TEST(AudioCaptureContract, TheEndOfTheObjectLetsTheMicrophoneGo) {
  this->startSpeaking();
  this->capture.reset();
  EXPECT_TRUE(waitUntil([this] { return !this->room->isCaptured(); }));
}

}  // namespace
}  // namespace quillmere
