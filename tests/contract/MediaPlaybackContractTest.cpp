#include "contract/Sides.h"
#include "platform/session/MprisMediaPlayback.h"
#include "platform/session/PrivateBus.h"
#include "support/FakeMediaPlayback.h"

namespace quillmere {
namespace {

struct FakeSide : InLoop {
  FakeSide() { playback.playing = 2; }
  int playing() const { return playback.playing; }
  void startAnother() { ++playback.playing; }
  void closeOnePaused() { --playback.paused; }
  FakeMediaPlayback playback;
};

struct MprisSide : PrivateBus {
  MprisSide() {
    for (const char* name : {"one", "two"}) add(name);
  }
  void add(const char* name) { players.push_back(std::make_unique<Player>(connect(), name, "Playing")); }
  int playing() const {
    return int(std::ranges::count_if(players, [](const auto& player) { return player->status == "Playing"; }));
  }
  void startAnother() { add("three"); }
  void closeOnePaused() { players.front()->status = "Stopped"; }
  std::vector<std::unique_ptr<Player>> players;
  BusConnection session{executor, workers, opener()};
  MprisMediaPlayback playback{session};
};

template <typename Side>
class MediaPlaybackContract : public testing::Test, public Side {};
using Sides = testing::Types<FakeSide, MprisSide>;
TYPED_TEST_SUITE(MediaPlaybackContract, Sides, SideNames);

TYPED_TEST(MediaPlaybackContract, WhatWasPausedIsResumedOnceWhereItStillIsPaused) {
  EXPECT_EQ(this->run(this->playback.pause()), 2);
  EXPECT_EQ(this->playing(), 0);
  this->startAnother();
  EXPECT_EQ(this->run(this->playback.pause()), 1) << "those of before are not forgotten";
  this->closeOnePaused();
  this->run(this->playback.play());
  EXPECT_EQ(this->playing(), 2);
  this->run(this->playback.play());
  EXPECT_EQ(this->playing(), 2);
  EXPECT_EQ(this->run(this->playback.pause()), 2);
}

}  // namespace
}  // namespace quillmere
