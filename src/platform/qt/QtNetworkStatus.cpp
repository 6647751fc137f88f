#include "platform/qt/QtNetworkStatus.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QFile>
#include <QTimer>

namespace quillmere {
namespace {

const QString managerName = QStringLiteral("org.freedesktop.NetworkManager");
const QString managerPath = QStringLiteral("/org/freedesktop/NetworkManager");

// NetworkManager's states: asleep 10, disconnected 20, disconnecting 30, connecting 40, connected locally 50, to the
// site 60, globally 70; 0 where it doesn't know.
constexpr uint firstConnectedState = 60;

bool hasDefaultEntry(const QString& table, qsizetype destinationColumn, qsizetype maskColumn, qsizetype deviceColumn) {
  QFile file(table);
  if (!file.open(QIODevice::ReadOnly)) return false;
  for (const QByteArray& line : file.readAll().split('\n')) {
    const QList<QByteArray> columns = line.simplified().split(' ');
    if (columns.size() <= std::max({destinationColumn, maskColumn, deviceColumn})) continue;
    const auto isZero = [](const QByteArray& digits) { return digits.count('0') == digits.size(); };
    if (isZero(columns[destinationColumn]) && isZero(columns[maskColumn]) && columns[deviceColumn] != "lo") return true;
  }
  return false;
}

}  // namespace

bool systemHasDefaultRoute() {
  return hasDefaultEntry(QStringLiteral("/proc/net/route"), 1, 7, 0) ||
         hasDefaultEntry(QStringLiteral("/proc/net/ipv6_route"), 0, 1, 9);
}

QtNetworkStatus::QtNetworkStatus()
    : QtNetworkStatus([] { return QDBusConnection::systemBus(); }, systemHasDefaultRoute, std::chrono::seconds(3)) {}

QtNetworkStatus::QtNetworkStatus(std::function<QDBusConnection()> bus, std::function<bool()> hasDefaultRoute,
                                 std::chrono::milliseconds delay)
    : hasDefaultRoute_(std::move(hasDefaultRoute)) {
  // Some time after the start, so that short commands never touch the bus.
  QTimer::singleShot(delay, this, [this, bus = std::move(bus)] { listen(bus); });
}

bool QtNetworkStatus::isOnline() const {
  return isManagerConnected_ || hasDefaultRoute_();
}

void QtNetworkStatus::listen(const std::function<QDBusConnection()>& bus) {
  connection_ = bus();
  if (!connection_.isConnected()) return;
  connection_.connect(managerName, managerPath, managerName, QStringLiteral("StateChanged"), this,
                      SLOT(stateChanged(uint)));
  auto* watcher = new QDBusServiceWatcher(managerName, connection_, QDBusServiceWatcher::WatchForOwnerChange, this);
  connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &QtNetworkStatus::askForState);
  connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this, [this] { isManagerConnected_ = true; });
  askForState();
}

void QtNetworkStatus::askForState() {
  auto question = QDBusMessage::createMethodCall(
      managerName, managerPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
  question.setAutoStartService(false);
  question << managerName << QStringLiteral("State");
  auto* answer = new QDBusPendingCallWatcher(connection_.asyncCall(question), this);
  connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
    const QDBusPendingReply<QDBusVariant> reply = *answer;
    if (reply.isValid()) stateChanged(reply.value().variant().toUInt());
    answer->deleteLater();
  });
}

void QtNetworkStatus::stateChanged(uint state) {
  isManagerConnected_ = state == 0 || state >= firstConnectedState;
}

}  // namespace quillmere
