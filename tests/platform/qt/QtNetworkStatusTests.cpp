#include "platform/qt/QtNetworkStatus.h"

#include <qtestsupport_core.h>
#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QEventLoop>

#include "support/SessionBus.h"

namespace quillmere {
namespace {

constexpr const char* busName = "org.freedesktop.NetworkManager";
constexpr const char* objectPath = "/org/freedesktop/NetworkManager";

// Answers the one question the adapter asks.
class NetworkManagerDouble final : public QDBusVirtualObject {
 public:
  uint state = 70;
  std::function<void()> onAsked;
  QString introspect(const QString&) const override { return {}; }
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
    if (message.member() != u"Get" || message.arguments().value(1) != "State") return false;
    connection.send(message.createReply(QVariant::fromValue(QDBusVariant(state))));
    if (onAsked) onAsked();
    return true;
  }
};

class QtNetworkStatusTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(bus.start()) << "dbus-daemon is needed";
    service = connect("service");
    ASSERT_TRUE(service.registerVirtualObject(objectPath, &manager));
  }
  void TearDown() override {
    for (const QString& name : names) QDBusConnection::disconnectFromBus(name);
  }
  QDBusConnection connect(const char* role) {
    names << QStringLiteral("%1-%2").arg(role).arg(names.size());
    return QDBusConnection::connectToBus(bus.address(), names.last());
  }
  // Waits for a value; a wrong one ends in a failure after ten seconds.
  void expectOnline(const QtNetworkStatus& status, bool isOnline) {
    EXPECT_TRUE(QTest::qWaitFor([&] { return status.isOnline() == isOnline; }, 10'000)) << isOnline;
  }
  void announce(uint state) {
    manager.state = state;
    auto signal = QDBusMessage::createSignal(objectPath, busName, "StateChanged");
    signal << state;
    service.send(signal);
  }

  SessionBus bus;
  QStringList names;
  NetworkManagerDouble manager;
  QDBusConnection service{QString()};
  bool hasRoute = false;
};

TEST_F(QtNetworkStatusTest, FollowsTheManagerAndTrustsTheRoutesMore) {
  manager.state = 20;
  ASSERT_TRUE(service.registerService(busName));
  QtNetworkStatus status([this] { return connect("client"); }, [this] { return hasRoute; });
  EXPECT_TRUE(status.isOnline()) << "until told otherwise";
  expectOnline(status, false);
  hasRoute = true;
  EXPECT_TRUE(status.isOnline());
  hasRoute = false;
  for (const auto& [state, isOnline] :
       std::vector<std::pair<uint, bool>>{{70, true}, {50, false}, {60, true}, {10, false}, {0, true}, {40, false}}) {
    announce(state);
    expectOnline(status, isOnline);
  }
  ASSERT_TRUE(service.unregisterService(busName));
  expectOnline(status, true);
  ASSERT_TRUE(service.registerService(busName));
  expectOnline(status, false);
}

TEST_F(QtNetworkStatusTest, WithoutManagerOrBusItIsOnline) {
  QtNetworkStatus withoutManager([this] { return connect("client"); }, [] { return false; });
  QtNetworkStatus withoutBus([] { return QDBusConnection::connectToBus("unix:path=/nonexistent/bus", "none"); },
                             [] { return false; });
  while (names.size() < 2) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  // Answers on one connection come in order: behind this one, the adapter's own has come as well.
  const auto question =
      QDBusMessage::createMethodCall("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "ListNames");
  ASSERT_EQ(QDBusConnection(names.last()).call(question).type(), QDBusMessage::ReplyMessage);
  QCoreApplication::processEvents();
  EXPECT_TRUE(withoutManager.isOnline());
  EXPECT_TRUE(withoutBus.isOnline());
}

}  // namespace
}  // namespace quillmere
