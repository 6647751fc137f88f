#include "platform/qt/QtNetworkStatus.h"

#include <QCoreApplication>
#include <QDBusMessage>

#include "platform/session/PrivateBus.h"

namespace quillmere {
namespace {

class QtNetworkStatusTest : public testing::Test, protected PrivateBus {
 protected:
  bool hasRoute = false;
};

TEST_F(QtNetworkStatusTest, FollowsTheManagerAndTrustsTheRoutesMore) {
  NetworkManager manager(connect(), 20);
  QtNetworkStatus status([this] { return connect(); }, [this] { return hasRoute; });
  const auto becomes = [&](bool isOnline) { return waitUntil([&] { return status.isOnline() == isOnline; }); };
  EXPECT_TRUE(becomes(false));
  hasRoute = true;
  EXPECT_TRUE(status.isOnline());
  hasRoute = false;
  for (const auto& [state, isOnline] :
       std::vector<std::pair<uint, bool>>{{50, false}, {60, true}, {10, false}, {0, true}, {40, false}}) {
    manager.announce(state);
    EXPECT_TRUE(becomes(isOnline)) << state;
  }
  ASSERT_TRUE(manager.connection.unregisterService(NetworkManager::name));
  EXPECT_TRUE(becomes(true));
  ASSERT_TRUE(manager.connection.registerService(NetworkManager::name));
  EXPECT_TRUE(becomes(false));
}

TEST_F(QtNetworkStatusTest, WithoutManagerOrBusItIsOnline) {
  QtNetworkStatus withoutManager([this] { return connect(); }, [] { return false; });
  QtNetworkStatus withoutBus([] { return QDBusConnection::connectToBus("unix:path=/nonexistent/bus", "none"); },
                             [] { return false; });
  EXPECT_TRUE(waitUntil([this] { return !names.isEmpty(); }));
  // Answers on one connection come in order: with this one, the adapter's own has come as well.
  const auto question =
      QDBusMessage::createMethodCall("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "ListNames");
  ASSERT_EQ(QDBusConnection(names.last()).call(question).type(), QDBusMessage::ReplyMessage);
  QCoreApplication::processEvents();
  EXPECT_TRUE(withoutManager.isOnline());
  EXPECT_TRUE(withoutBus.isOnline());
}

}  // namespace
}  // namespace quillmere
