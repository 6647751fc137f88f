#include "contract/Sides.h"
#include "platform/x11/X11Desk.h"
#include "platform/x11/X11KeyInterceptor.h"
#include "support/FakeKeyInterceptor.h"

namespace quillmere {
namespace {

// The user's taps tell whether the key went to the focused window.
struct FakeSide {
  bool tapReturn() { return !interceptor.pressReturn(); }
  bool tapEscape() { return !interceptor.pressEscape(); }
  void setEscapeTaken(bool isTaken) { interceptor.isAllowed = !isTaken; }
  FakeKeyInterceptor interceptor;
};

struct X11Side : X11Desk {
  X11Side() { other.showFocusedWindow(); }
  bool tapReturn() { return tap(XKB_KEY_Return); }
  bool tapEscape() { return tap(XKB_KEY_Escape); }
  bool tap(uint32_t symbol) {
    keys.tap({symbol});
    return other.takeKeys() == std::vector<int>{keys.codeOf(symbol)};
  }
  void setEscapeTaken(bool isTaken) {
    const uint8_t escape = keys.codeOf(XKB_KEY_Escape);
    if (isTaken)
      launcher.grabKey(0, escape);
    else
      launcher.ungrabKey(0, escape);
  }
  OtherProgram launcher{server.displayName()};
  X11KeyInterceptor interceptor{server.displayName()};
};

template <typename Side>
class KeyInterceptorContract : public testing::Test, public Side {
 protected:
  bool start() {
    return this->interceptor.start([this] { trace += u'R'; }, [this] { trace += u'E'; });
  }
  QString trace;
};
using Sides = testing::Types<FakeSide, X11Side>;
TYPED_TEST_SUITE(KeyInterceptorContract, Sides, SideNames);

TYPED_TEST(KeyInterceptorContract, TakesItsKeysUntilItIsStopped) {
  EXPECT_TRUE(this->tapReturn());
  ASSERT_TRUE(this->start());
  ASSERT_TRUE(this->start());
  EXPECT_FALSE(this->tapReturn());
  EXPECT_FALSE(this->tapEscape());
  EXPECT_TRUE(waitUntil([&] { return this->trace == "RE"; }));
  this->interceptor.stop();
  EXPECT_TRUE(this->tapReturn());
  EXPECT_TRUE(this->tapEscape());
  EXPECT_EQ(this->trace, "RE");
}

TYPED_TEST(KeyInterceptorContract, AFunctionMayStopIt) {
  ASSERT_TRUE(this->interceptor.start(nullptr, [&] {
    this->trace += u'E';
    this->interceptor.stop();
  }));
  EXPECT_FALSE(this->tapReturn());
  EXPECT_FALSE(this->tapEscape());
  EXPECT_TRUE(waitUntil([&] { return this->trace == "E"; }));
  EXPECT_TRUE(this->tapEscape());
}

TYPED_TEST(KeyInterceptorContract, TakesNothingWhereAKeyCannotBeHad) {
  this->setEscapeTaken(true);
  EXPECT_FALSE(this->start());
  EXPECT_TRUE(this->tapReturn());
  this->setEscapeTaken(false);
  EXPECT_TRUE(this->start());
}

}  // namespace
}  // namespace quillmere
