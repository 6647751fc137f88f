#include "contract/Sides.h"
#include "platform/qt/QtNetworkStatus.h"
#include "platform/session/PrivateBus.h"
#include "support/FakeNetworkStatus.h"

namespace quillmere {
namespace {

struct FakeSide {
  void setOnline(bool isOnline) { status.online = isOnline; }
  FakeNetworkStatus status;
};

struct QtSide : PrivateBus {
  void setOnline(bool isOnline) { manager.announce(isOnline ? 70 : 20); }
  NetworkManager manager{connect(), 70};
  QtNetworkStatus status{[this] { return connect(); }, [] { return false; }};
};

template <typename Side>
class NetworkStatusContract : public testing::Test, public Side {};
using Sides = testing::Types<FakeSide, QtSide>;
TYPED_TEST_SUITE(NetworkStatusContract, Sides, SideNames);

TYPED_TEST(NetworkStatusContract, StartsOnlineAndFollowsTheNetwork) {
  const NetworkStatus& status = this->status;
  EXPECT_TRUE(status.isOnline());
  for (const bool isOnline : {false, true, false}) {
    EXPECT_TRUE(waitUntil([&] {
      this->setOnline(isOnline);  // again and again: the first may come before somebody listens
      return status.isOnline() == isOnline;
    }));
  }
}

}  // namespace
}  // namespace quillmere
