#include "platform/pulse/PulseAudioDevices.h"

#include <QTcpServer>
#include <future>

#include "platform/pulse/PulseFixture.h"
#include "platform/pulse/PulseMicrophoneAuthorization.h"
#include "platform/pulse/PulseOutputVolume.h"

namespace quillmere {
namespace {

class PulseAudioDevicesTest : public PulseTest {
 protected:
  void SetUp() override {
    PulseTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    subscription = devices->observe([this](AudioDevices::Change change) { changes.push_back(change); });
    ASSERT_TRUE(waitUntilListed());
    changes.clear();
  }
  bool hasTold(AudioDevices::Change change) const { return std::count(changes.begin(), changes.end(), change) > 0; }
  QString volumeText(const char* kind, const char* name) {
    return server.pactl({QString("get-%1-volume").arg(kind), name}).section('\n', 0, 0);
  }
  std::vector<AudioDevices::Change> changes;
  Subscription subscription;
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

TEST_F(PulseAudioDevicesTest, PluggingAndDefaultsAreToldAndVolumesAreNot) {
  devices->preferInput("visitor");
  EXPECT_EQ(devices->captureInputUid(), "virtual_mic");
  const int module = server.plugIn("visitor");
  ASSERT_TRUE(waitUntil([&] { return input("visitor") && hasTold(AudioDevices::Change::deviceList); }));
  EXPECT_EQ(devices->captureInputUid(), "visitor");
  EXPECT_EQ(server.pactl({"get-default-source"}), "virtual_mic") << "nobody else's changes";
  EXPECT_FALSE(hasTold(AudioDevices::Change::defaultInput));
  changes.clear();
  server.pactl({"set-source-volume", "visitor", "30%"});
  ASSERT_TRUE(waitUntil([&] { return input("visitor")->volume < 0.31f; }));
  EXPECT_TRUE(changes.empty());
  server.pactl({"set-default-source", "visitor"});
  ASSERT_TRUE(waitUntil([&] { return hasTold(AudioDevices::Change::defaultInput); }));
  EXPECT_EQ(devices->defaultInputUid(), "visitor");
  EXPECT_FALSE(hasTold(AudioDevices::Change::deviceList));
  ASSERT_TRUE(server.unloadModule(module));
  ASSERT_TRUE(waitUntil([&] { return !input("visitor") && devices->captureInputUid() == "virtual_mic"; }));
}

TEST_F(PulseAudioDevicesTest, VolumesKeepTheirBalanceAndWhatIsAboveFull) {
  server.loadModule({"module-null-sink", "sink_name=wide", "norewinds=1", "channels=2"});
  server.pactl({"set-source-volume", "wide.monitor", "130%", "65%"});
  ASSERT_TRUE(waitUntil([&] { return input("wide.monitor") && input("wide.monitor")->volume > 1.1f; }));
  const float before = *input("wide.monitor")->volume;
  EXPECT_NEAR(before, 1.3, 0.005);
  EXPECT_TRUE(run(devices->setInputVolume("wide.monitor", 0.9f)));
  EXPECT_TRUE(volumeText("source", "wide.monitor").contains(" 90% "));
  EXPECT_TRUE(volumeText("source", "wide.monitor").contains(" 45% "));
  EXPECT_TRUE(run(devices->setInputVolume("wide.monitor", before)));
  EXPECT_TRUE(volumeText("source", "wide.monitor").contains(" 130% "));
  EXPECT_TRUE(volumeText("source", "wide.monitor").contains(" 65% "));
  EXPECT_FALSE(run(devices->setInputVolume("nobody", 0.5f)));
}

TEST_F(PulseAudioDevicesTest, AnOutputIsSilencedAndGivenBackAsItWas) {
  PulseOutputVolume output(*connection);
  server.pactl({"set-sink-volume", "speakers", "120%", "60%"});
  const auto before = run(output.level());
  ASSERT_TRUE(before);
  EXPECT_EQ(before->uid, "speakers");
  EXPECT_EQ(before->percent(), 100) << "as a mixer shows it";
  EXPECT_TRUE(run(output.setLevel({before->uid, before->name, {0, 0}})));
  EXPECT_EQ(run(output.level())->percent(), 0);
  server.pactl({"set-default-sink", "mic_feed"});
  EXPECT_EQ(run(output.level())->uid, "mic_feed");
  EXPECT_TRUE(run(output.setLevel(*before)));
  EXPECT_EQ(run(output.level("speakers"))->channels, before->channels);
  EXPECT_FALSE(run(output.level("nobody")));
  EXPECT_FALSE(run(output.setLevel({"nobody", {}, {1}})));
  server.kill();
  const auto lost = run(output.level());
  ASSERT_FALSE(lost);
  EXPECT_EQ(lost.error().domain, "audio");
  EXPECT_FALSE(run(output.setLevel(*before)));
  EXPECT_FALSE(run(devices->setInputVolume("virtual_mic", 0.5f)));
}

// The first list's answer may come at any moment, also before the one who waits has taken his place in the queue.
TEST_F(PulseAudioDevicesTest, AListThatArrivesEarlyIsNotMissed) {
  for (int steps = 0; steps < 12; ++steps) {
    ManualExecutor main;  // whose clock stands still: no limit of time helps
    std::promise<void> permission;
    PulseConnection early(main, Logging(log), at(server.address()));
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

TEST(PulseConnection, WithoutAServerEverythingSaysSo) {
  QTemporaryDir folder;
  QtExecutor executor;
  PulseConnection::Options options;
  options.server = "unix:" + folder.filePath("nobody");
  options.mayStartServer = false;
  PulseConnection connection(executor, Logging(), options);
  PulseAudioDevices devices(connection);
  EXPECT_FALSE(runTaskInLoop(executor, devices.waitUntilReady()));
  EXPECT_TRUE(devices.inputs().empty());
  EXPECT_EQ(devices.defaultInputUid(), std::nullopt);
  EXPECT_EQ(connection.state(), PulseConnection::State::unavailable);
  PulseMicrophoneAuthorization authorization(connection, devices);
  EXPECT_EQ(authorization.status(), MicrophoneAuthorization::Status::authorized) << "nobody refused";
}

// A server that wants a cookie which this process does not have.
class RefusingServer : public PulseTest {
 protected:
  void configure() override {
    QTcpServer finder;
    ASSERT_TRUE(finder.listen(QHostAddress::LocalHost));
    const QString port = QString::number(finder.serverPort());
    address = "tcp:127.0.0.1:" + port;
    server.addSetup("load-module module-native-protocol-tcp listen=127.0.0.1 port=" + port +
                    " auth-cookie=other-cookie");
  }
  QString address;
};

TEST_F(RefusingServer, ARefusalIsADeniedMicrophoneUntilTheServerLetsUsIn) {
  PulseConnection refused(executor, Logging(log), at(address));
  PulseAudioDevices refusedDevices(refused);
  PulseMicrophoneAuthorization authorization(refused, refusedDevices);
  EXPECT_FALSE(run(refusedDevices.waitUntilReady()));
  EXPECT_EQ(authorization.status(), MicrophoneAuthorization::Status::denied);
  EXPECT_FALSE(run(authorization.requestAccess()));
  PulseAudioRecorderFactory recorders(refused, refusedDevices);
  const auto recorder = recorders.create();
  const auto result = run(recorder->record(recordingPath()));
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().description,
            "Quillmere may not use the microphone. Please allow it in the system settings.");

  PulseMicrophoneAuthorization granted(*connection, *devices);
  connection->noteAccess(false);  // as if a stream had been refused
  EXPECT_EQ(granted.status(), MicrophoneAuthorization::Status::denied);
  EXPECT_TRUE(run(granted.requestAccess()));
  EXPECT_EQ(granted.status(), MicrophoneAuthorization::Status::authorized);
  EXPECT_TRUE(waitUntil([&] { return !isCaptured(); })) << "the question leaves nothing open";
}

}  // namespace
}  // namespace quillmere
