#include "platform/session/SessionPowerActivity.h"

#include <fcntl.h>
#include <unistd.h>

#include <QDBusUnixFileDescriptor>

#include "platform/session/PrivateBus.h"

namespace quillmere {
namespace {

using Means = SessionPowerActivity::Means;

class SessionPowerActivityTest : public testing::Test, protected PrivateBus {
 protected:
  void offerLogind() {
    logind.answers["Inhibit"] = [this](const QDBusMessage&) {
      int ends[2];
      if (::pipe(ends) != 0) std::abort();
      readEnd = ends[0];
      const QDBusUnixFileDescriptor lock(ends[1]);
      ::close(ends[1]);
      return QVariant::fromValue(lock);
    };
    services.registerVirtualObject("/org/freedesktop/login1", &logind);
    services.registerService("org.freedesktop.login1");
  }
  void offerPortal() {
    portal.answers["Inhibit"] = [](const QDBusMessage&) {
      return QVariant::fromValue(QDBusObjectPath("/org/freedesktop/portal/desktop/request/1"));
    };
    services.registerVirtualObject("/org/freedesktop/portal", &portal, QDBusConnection::SubPath);
    services.registerService("org.freedesktop.portal.Desktop");
  }
  // The lock is gone when nobody holds the other end.
  bool isLockGone() const {
    char byte = 0;
    ::fcntl(readEnd, F_SETFL, O_NONBLOCK);
    return ::read(readEnd, &byte, 1) == 0;
  }
  bool isGrantedBy(Means means) {
    return waitUntil([&] { return power.lastMeans() == means; });
  }

  QDBusConnection services = connect();
  BusService logind, portal;
  int readEnd = -1;
  BusConnection client{executor, workers, opener()};
  SessionPowerActivity power{client, client};
};

TEST_F(SessionPowerActivityTest, LogindsLockIsHeldAsLongAsTheToken) {
  offerLogind();
  offerPortal();
  auto token = power.begin("Recording");
  ASSERT_TRUE(isGrantedBy(Means::logind));
  EXPECT_EQ(logind.calls, QStringList{"Inhibit(idle:sleep,Quillmere,Recording,block)"});
  EXPECT_TRUE(portal.calls.isEmpty());
  EXPECT_FALSE(isLockGone());
  token.reset();
  EXPECT_TRUE(waitUntil([&] { return isLockGone(); }));
}

TEST_F(SessionPowerActivityTest, ThePortalAndThenTheScreenSaverStandIn) {
  offerPortal();
  auto token = power.begin("Recording");
  ASSERT_TRUE(isGrantedBy(Means::portal));
  token.reset();
  EXPECT_TRUE(waitUntil([&] { return portal.count("Close()") == 1; }));

  services.unregisterService("org.freedesktop.portal.Desktop");
  ScreenSaver saver(connect());
  token = power.begin("Again");
  ASSERT_TRUE(isGrantedBy(Means::screenSaver));
  EXPECT_EQ(saver.service.count("Inhibit(Quillmere,Again)"), 1);
  token.reset();
  EXPECT_TRUE(waitUntil([&] { return saver.service.count("UnInhibit(42)") == 1; }));
}

TEST_F(SessionPowerActivityTest, ATokenThatGoesEarlyLeavesNothingBehind) {
  ScreenSaver saver(connect());
  auto token = power.begin("Short");
  waitUntil([&] { return saver.service.count("Inhibit(Quillmere,Short)") == 1; });
  token.reset();  // perhaps before the answer is here
  EXPECT_TRUE(waitUntil([&] { return saver.service.count("UnInhibit(42)") == 1; }));
  power.begin("Never").reset();
  token = power.begin("Left");
  ASSERT_TRUE(waitUntil([&] { return saver.service.count("Inhibit(Quillmere,Left)") == 1; }));
  EXPECT_EQ(saver.service.count("Inhibit(Quillmere,Never)"), 0);
}

}  // namespace
}  // namespace quillmere
