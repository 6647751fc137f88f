#include "contract/SoundSides.h"
#include "platform/pulse/PulseFixture.h"
#include "platform/pulse/PulseOutputVolume.h"
#include "support/FakeOutputVolume.h"

namespace quillmere {
namespace {

struct FakeSide : FakeRoom {
  FakeSide() { output->outputs["mic_feed"] = {1.0}; }
  // As the user does with a mixer.
  void turnSpeakers(int left, int right) { output->outputs["speakers"] = {left / 100.0, right / 100.0}; }
  void makeDefault(const char* uid) { output->defaultUid = uid; }
  void endServer() { output->readError = output->writeError = PlatformError{"audio", 6, "gone"}; }
  std::unique_ptr<FakeOutputVolume> output = std::make_unique<FakeOutputVolume>();
};

struct PulseSide : PulseRoom {
  bool start() {
    if (!PulseRoom::start() || !waitUntilListed()) return false;
    output = std::make_unique<PulseOutputVolume>(*connection);
    return true;
  }
  void turnSpeakers(int left, int right) {
    server.pactl({"set-sink-volume", "speakers", QString("%1%").arg(left), QString("%1%").arg(right)});
  }
  void makeDefault(const char* uid) { server.pactl({"set-default-sink", uid}); }
  void endServer() { server.kill(); }
  std::unique_ptr<PulseOutputVolume> output;
};

template <typename Side>
class OutputVolumeContract : public SoundContract<Side> {};
using Sides = testing::Types<FakeSide, PulseSide>;
TYPED_TEST_SUITE(OutputVolumeContract, Sides, SideNames);

TYPED_TEST(OutputVolumeContract, AnOutputIsSilencedAndGivenBackAsItWas) {
  auto& output = *this->output;
  this->turnSpeakers(120, 60);
  const auto before = this->run(output.level());
  ASSERT_TRUE(before);
  EXPECT_EQ(before->uid, "speakers");
  EXPECT_FALSE(before->name.isEmpty());
  ASSERT_EQ(before->channels.size(), 2u);
  EXPECT_NEAR(before->channels[0], 1.2, 0.001);
  EXPECT_NEAR(before->channels[1], 0.6, 0.001);
  EXPECT_TRUE(this->run(output.setLevel({before->uid, before->name, {0, 0}})));
  EXPECT_EQ(this->run(output.level())->percent(), 0);
  // The user puts headphones on meanwhile.
  this->makeDefault("mic_feed");
  const auto other = this->run(output.level());
  ASSERT_TRUE(other);
  EXPECT_EQ(other->uid, "mic_feed");
  EXPECT_TRUE(this->run(output.setLevel(*before)));
  EXPECT_EQ(this->run(output.level("speakers"))->channels, before->channels);
  EXPECT_EQ(this->run(output.level())->channels, other->channels);
}

TYPED_TEST(OutputVolumeContract, WhatIsNotThereIsAnError) {
  auto& output = *this->output;
  const auto before = this->run(output.level());
  ASSERT_TRUE(before);
  for (const bool hasServer : {true, false}) {
    SCOPED_TRACE(hasServer);
    if (!hasServer) this->endServer();
    const OutputLevel named{hasServer ? "nobody" : before->uid, {}, before->channels};
    const auto level = this->run(output.level(named.uid));
    ASSERT_FALSE(level);
    EXPECT_EQ(level.error().domain, "audio");
    const auto set = this->run(output.setLevel(named));
    ASSERT_FALSE(set);
    EXPECT_EQ(set.error().domain, "audio");
    EXPECT_EQ(this->run(output.level()).hasValue(), hasServer);
  }
}

}  // namespace
}  // namespace quillmere
