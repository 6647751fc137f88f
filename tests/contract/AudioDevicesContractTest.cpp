#include "contract/SoundSides.h"
#include "platform/pulse/PulseFixture.h"
#include "support/FakeAudioDevices.h"

namespace quillmere {
namespace {

using Change = AudioDevices::Change;

struct FakeSide : FakeRoom {
  FakeSide() {
    devices->defaultUid = "virtual_mic";
    plugIn("virtual_mic");
  }
  void plugIn(const char* uid) { devices->plugIn(FakeAudioDevices::microphone(++attachments, uid, uid)); }
  void unplug(const char* uid) { devices->unplug(uid); }
  void makeDefault(const char* uid) {
    devices->defaultUid = uid;
    devices->tell(Change::defaultInput);
  }
  void endServer() { devices->isServerThere = false; }
  bool startServer() { return devices->isServerThere = true; }
  std::unique_ptr<FakeAudioDevices> devices = std::make_unique<FakeAudioDevices>();
  quint32 attachments = 0;
};

struct PulseSide : PulseRoom {
  void plugIn(const char* uid) { modules[uid] = server.plugIn(uid); }
  void unplug(const char* uid) { EXPECT_TRUE(server.unloadModule(modules[uid])); }
  void makeDefault(const char* uid) { server.pactl({"set-default-source", uid}); }
  void endServer() { server.kill(); }
  bool startServer() { return server.start(); }
  std::map<QString, int> modules;
};

template <typename Side>
class AudioDevicesContract : public SoundContract<Side> {
 protected:
  void SetUp() override {
    SoundContract<Side>::SetUp();
    if (this->IsSkipped() || this->HasFatalFailure()) return;
    ASSERT_TRUE(this->run(this->devices->waitUntilReady()));
    subscription = this->devices->observe([this](Change change) { changes.push_back(change); });
  }
  bool hasTold(Change change) const { return std::count(changes.begin(), changes.end(), change) > 0; }
  std::optional<AudioInputDescription> input(const QString& uid) const {
    for (const auto& candidate : this->devices->inputs())
      if (candidate.uid == uid) return candidate;
    return std::nullopt;
  }
  bool waitForDefault(const char* uid) {
    return waitUntil([&] { return hasTold(Change::defaultInput) && this->devices->defaultInputUid() == uid; });
  }
  std::vector<Change> changes;
  Subscription subscription;
};
using Sides = testing::Types<FakeSide, PulseSide>;
TYPED_TEST_SUITE(AudioDevicesContract, Sides, SideNames);

TYPED_TEST(AudioDevicesContract, DevicesAndDefaultsAreToldAndVolumesAreNot) {
  auto& devices = *this->devices;
  devices.preferInput("visitor");
  EXPECT_EQ(devices.captureInputUid(), "virtual_mic");
  this->plugIn("visitor");
  ASSERT_TRUE(waitUntil([&] { return this->input("visitor") && this->hasTold(Change::deviceList); }));
  EXPECT_EQ(devices.captureInputUid(), "visitor");
  EXPECT_EQ(devices.defaultInputUid(), "virtual_mic") << "other programs use what they used";
  EXPECT_FALSE(this->hasTold(Change::defaultInput));
  this->changes.clear();
  EXPECT_TRUE(this->run(devices.setInputVolume("visitor", 0.25f)));
  EXPECT_TRUE(waitUntil([&] { return std::abs(this->input("visitor")->volume.value_or(1) - 0.25f) < 0.001f; }));
  EXPECT_FALSE(this->run(devices.setInputVolume("nobody", 0.25f)));
  EXPECT_TRUE(this->changes.empty());
  this->makeDefault("visitor");
  EXPECT_TRUE(this->waitForDefault("visitor"));
  EXPECT_FALSE(this->hasTold(Change::deviceList));
}

TYPED_TEST(AudioDevicesContract, AMicrophoneThatGoesIsReplaced) {
  auto& devices = *this->devices;
  this->plugIn("visitor");
  this->makeDefault("visitor");
  ASSERT_TRUE(this->waitForDefault("visitor"));
  devices.preferInput("visitor");
  this->changes.clear();
  this->unplug("visitor");
  ASSERT_TRUE(this->waitForDefault("virtual_mic"));
  EXPECT_FALSE(this->input("visitor"));
  EXPECT_EQ(devices.captureInputUid(), "virtual_mic");
  EXPECT_EQ(this->changes.front(), Change::deviceList) << "who hears of the default knows the list";
  EXPECT_EQ(this->changes.back(), Change::defaultInput);
}

TYPED_TEST(AudioDevicesContract, AnObserverMayEndAnother) {
  Subscription second;
  int told = 0;
  const Subscription first = this->devices->observe([&](Change) {
    ++told;
    second.reset();
  });
  second = this->devices->observe([](Change) { ADD_FAILURE() << "was ended"; });
  this->plugIn("visitor");
  EXPECT_TRUE(waitUntil([&] { return told > 0; }));
}

TYPED_TEST(AudioDevicesContract, AServerThatGoesLeavesNothingAndIsUsedAgain) {
  auto& devices = *this->devices;
  devices.preferInput("virtual_mic");
  this->endServer();
  EXPECT_TRUE(waitUntil([&] { return !devices.isConnected(); }));
  EXPECT_FALSE(this->run(devices.waitUntilReady()));
  EXPECT_TRUE(devices.inputs().empty());
  EXPECT_EQ(devices.defaultInputUid(), std::nullopt);
  EXPECT_EQ(devices.captureInputUid(), std::nullopt);
  EXPECT_FALSE(this->run(devices.setInputVolume("virtual_mic", 0.5f)));
  ASSERT_TRUE(this->startServer());
  EXPECT_TRUE(waitUntil([&] { return devices.isConnected(); }));
  EXPECT_EQ(devices.captureInputUid(), "virtual_mic");
}

}  // namespace
}  // namespace quillmere
