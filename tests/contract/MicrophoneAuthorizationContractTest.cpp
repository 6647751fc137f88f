#include "contract/SoundSides.h"
#include "platform/pulse/PulseFixture.h"
#include "platform/pulse/PulseMicrophoneAuthorization.h"
#include "support/FakeMicrophoneAuthorization.h"

namespace quillmere {
namespace {

using Status = MicrophoneAuthorization::Status;

struct FakeSide : FakeRoom {
  void refuse() {
    authorization->current = Status::denied;
    authorization->grants = false;
  }
  void allow() { authorization->grants = true; }
  std::unique_ptr<FakeMicrophoneAuthorization> authorization = std::make_unique<FakeMicrophoneAuthorization>();
};

struct PulseSide : PulseRoom {
  bool start() {
    if (!PulseRoom::start() || !waitUntilListed()) return false;
    authorization = std::make_unique<PulseMicrophoneAuthorization>(*connection, *devices);
    return true;
  }
  // The server wants a cookie that this process does not have.
  void refuse() {
    door = servePort(port, "auth-cookie=other-cookie");
    connect(addressOf(port));
    EXPECT_FALSE(waitUntilListed());
    authorization = std::make_unique<PulseMicrophoneAuthorization>(*connection, *devices);
  }
  void allow() {
    EXPECT_TRUE(server.unloadModule(door));
    EXPECT_GE(servePort(port, "auth-anonymous=1"), 0);
  }
  const QString port = freePort();
  int door = -1;
  std::unique_ptr<PulseMicrophoneAuthorization> authorization;
};

template <typename Side>
class MicrophoneAuthorizationContract : public SoundContract<Side> {};
using Sides = testing::Types<FakeSide, PulseSide>;
TYPED_TEST_SUITE(MicrophoneAuthorizationContract, Sides, SideNames);

TYPED_TEST(MicrophoneAuthorizationContract, ARefusalStandsUntilSomebodyAsksAgain) {
  EXPECT_EQ(this->authorization->status(), Status::authorized);
  EXPECT_TRUE(this->run(this->authorization->requestAccess()));
  this->refuse();
  EXPECT_EQ(this->authorization->status(), Status::denied);
  EXPECT_FALSE(this->run(this->authorization->requestAccess()));
  EXPECT_EQ(this->authorization->status(), Status::denied);
  this->allow();
  EXPECT_TRUE(waitUntil([this] { return this->run(this->authorization->requestAccess()); }));
  EXPECT_EQ(this->authorization->status(), Status::authorized);
}

}  // namespace
}  // namespace quillmere
