#pragma once
#include "contract/Sides.h"

namespace quillmere {

// The side of a fake in the contracts of the sound server's ports; that of the adapter is a PulseRoom.
struct FakeRoom : InLoop {
  static bool isAvailable() { return true; }
  bool start() { return true; }
};

template <typename Side>
class SoundContract : public testing::Test, public Side {
 protected:
  void SetUp() override {
    if (!Side::isAvailable()) GTEST_SKIP() << "pulseaudio, pactl and paplay are needed";
    ASSERT_TRUE(this->start());
  }
};

}  // namespace quillmere
