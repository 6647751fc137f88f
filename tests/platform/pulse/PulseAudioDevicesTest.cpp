#include "platform/pulse/PulseAudioDevices.h"

#include <future>

#include "platform/pulse/PulseFixture.h"
#include "platform/pulse/PulseMicrophoneAuthorization.h"

namespace quillmere {
namespace {

class PulseAudioDevicesTest : public PulseTest {
 protected:
  void SetUp() override {
    PulseTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    ASSERT_TRUE(waitUntilListed());
  }
  std::optional<AudioInputDescription> input(const QString& uid) const {
    for (const auto& candidate : devices->inputs())
      if (candidate.uid == uid) return candidate;
    return std::nullopt;
  }
  QString volumeOf(const char* source) { return server.pactl({"get-source-volume", source}).section('\n', 0, 0); }
};

TEST_F(PulseAudioDevicesTest, InputsComeWithTheirProperties) {
  server.plugIn("made_up", "device.class=abstract");
  ASSERT_TRUE(waitUntil([&] { return input("made_up").has_value(); }));
  EXPECT_EQ(input("made_up")->transport, "virtual");
  const auto microphone = input("virtual_mic");
  ASSERT_TRUE(microphone);
  EXPECT_EQ(microphone->name, "Virtual USB Microphone");
  EXPECT_EQ(microphone->transport, "usb");
  EXPECT_EQ(microphone->channelCount, 1);
  EXPECT_EQ(microphone->sampleRate, 48000);
  EXPECT_EQ(microphone->bitDepth, 16);
  EXPECT_EQ(microphone->volume, 1.0f);
  EXPECT_TRUE(input("speakers.monitor")->isMonitor);
  EXPECT_EQ(devices->defaultInputUid(), "virtual_mic");
}

TEST_F(PulseAudioDevicesTest, VolumesKeepTheirBalanceAndWhatIsAboveFull) {
  server.loadModule({"module-null-sink", "sink_name=wide", "norewinds=1", "channels=2"});
  server.pactl({"set-source-volume", "wide.monitor", "130%", "65%"});
  ASSERT_TRUE(waitUntil([&] { return input("wide.monitor") && input("wide.monitor")->volume > 1.1f; }));
  const float before = *input("wide.monitor")->volume;
  EXPECT_NEAR(before, 1.3, 0.005);
  EXPECT_TRUE(run(devices->setInputVolume("wide.monitor", 0.9f)));
  EXPECT_TRUE(volumeOf("wide.monitor").contains(" 90% "));
  EXPECT_TRUE(volumeOf("wide.monitor").contains(" 45% "));
  EXPECT_TRUE(run(devices->setInputVolume("wide.monitor", before)));
  EXPECT_TRUE(volumeOf("wide.monitor").contains(" 130% "));
  EXPECT_TRUE(volumeOf("wide.monitor").contains(" 65% "));
}

// The first list's answer may come at any moment, also before the one who waits has taken his place in the queue.
TEST_F(PulseAudioDevicesTest, AListThatArrivesEarlyIsNotMissed) {
  for (int steps = 0; steps < 12; ++steps) {
    ManualExecutor main;  // whose clock stands still: no limit of time helps
    std::promise<void> permission;
    PulseConnection early(main, Logging(), at(server.address()));
    const Subscription first = early.observeState([&](PulseConnection::State state) {
      if (state == PulseConnection::State::ready) early.run([&](pa_context*) { permission.get_future().wait(); });
    });
    PulseAudioDevices listed(early);
    TaskScope scope(main);
    auto waiting = scope.spawn(listed.waitUntilReady());
    ASSERT_TRUE(waitUntil([&] {
      main.runOne();
      return early.state() == PulseConnection::State::ready;
    }));
    for (int step = 0; step < steps; ++step) main.runOne();
    const size_t queued = main.queuedCount();
    permission.set_value();
    ASSERT_TRUE(waitUntil([&] { return main.queuedCount() > queued; }));
    main.runReady();
    EXPECT_TRUE(waiting.isDone()) << "the answer came after step " << steps;
    EXPECT_TRUE(listed.isConnected());
  }
}

// A stream that was refused, on a connection that stands.
TEST_F(PulseAudioDevicesTest, ARefusedStreamIsTriedAgain) {
  PulseMicrophoneAuthorization authorization(*connection, *devices);
  connection->noteAccess(false);
  EXPECT_EQ(authorization.status(), MicrophoneAuthorization::Status::denied);
  EXPECT_TRUE(run(authorization.requestAccess()));
  EXPECT_EQ(authorization.status(), MicrophoneAuthorization::Status::authorized);
  EXPECT_TRUE(waitUntil([&] { return !isCaptured(); })) << "the question leaves nothing open";
}

}  // namespace
}  // namespace quillmere
