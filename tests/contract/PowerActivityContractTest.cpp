#include <QRegularExpression>

#include "contract/Sides.h"
#include "platform/session/PrivateBus.h"
#include "platform/session/SessionPowerActivity.h"
#include "support/FakePowerActivity.h"

namespace quillmere {
namespace {

struct FakeSide {
  std::unique_ptr<FakePowerActivity> power = std::make_unique<FakePowerActivity>();
  std::function<int()> held = [power = power.get()] { return power->held(); };
};

struct SessionSide : PrivateBus {
  ScreenSaver saver{connect()};
  BusConnection client{executor, workers, opener()};
  std::unique_ptr<SessionPowerActivity> power = std::make_unique<SessionPowerActivity>(client, client);
  std::function<int()> held = [this] {
    const auto& calls = saver.service.calls;
    return int(calls.filter(QRegularExpression("^Inhibit")).size() - calls.filter("UnInhibit").size());
  };
};

template <typename Side>
class PowerActivityContract : public testing::Test, public Side {
 protected:
  bool isHeld(int count) {
    return waitUntil([&] { return this->held() == count; });
  }
};
using Sides = testing::Types<FakeSide, SessionSide>;
TYPED_TEST_SUITE(PowerActivityContract, Sides, SideNames);

TYPED_TEST(PowerActivityContract, EachTokenHoldsForItself) {
  auto first = this->power->begin("one");
  EXPECT_TRUE(this->isHeld(1));
  auto second = this->power->begin("two");
  EXPECT_TRUE(this->isHeld(2));
  first.reset();
  EXPECT_TRUE(this->isHeld(1));
  second.reset();
  EXPECT_TRUE(this->isHeld(0));
}

TYPED_TEST(PowerActivityContract, ATokenMayOutliveItsMaker) {
  auto token = this->power->begin("one");
  EXPECT_TRUE(this->isHeld(1));
  this->power.reset();
  token.reset();
}

}  // namespace
}  // namespace quillmere
