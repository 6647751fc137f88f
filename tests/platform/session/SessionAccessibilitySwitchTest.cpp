#include "platform/session/SessionAccessibilitySwitch.h"

#include "platform/session/PrivateBus.h"

namespace quillmere {
namespace {

class SessionAccessibilitySwitchTest : public testing::Test, protected PrivateBus {
 protected:
  QDBusConnection services = connect();
  BusService status;
  BusConnection client{executor, workers, opener()};
  SessionAccessibilitySwitch accessibility{client};
};

TEST_F(SessionAccessibilitySwitchTest, IsReadAndTurned) {
  EXPECT_FALSE(run(accessibility.state())) << "nobody there";
  EXPECT_FALSE(run(accessibility.turn(true)));
  status.answers["GetAll"] = [](const QDBusMessage&) {
    return QVariantMap{{"IsEnabled", false}, {"ScreenReaderEnabled", true}};
  };
  services.registerVirtualObject("/org/a11y/bus", &status);
  services.registerService("org.a11y.Bus");
  EXPECT_EQ(run(accessibility.state()), (AccessibilitySwitch::State{false, true}));
  EXPECT_TRUE(run(accessibility.turn(true)));
  EXPECT_TRUE(status.calls.last().startsWith("Set(org.a11y.Status,IsEnabled")) << status.calls.last().toStdString();
}

}  // namespace
}  // namespace quillmere
