#include "platform/session/BusConnection.h"

#include <QDBusPendingCallWatcher>

#include "base/async/Combinators.h"
#include "base/async/Offload.h"

namespace quillmere {

BusConnection::BusConnection(Executor& executor, WorkerPool& workers, Open open)
    : executor_(executor), workers_(workers), open_(std::move(open)), scope_(executor) {}

// A name of our own: Qt's default connections can't be opened again.
BusConnection::Open BusConnection::sessionBus() {
  return [] {
    const QString name = QStringLiteral("quillmere-session");
    QDBusConnection::disconnectFromBus(name);
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
  };
}

BusConnection::Open BusConnection::systemBus() {
  return [] {
    const QString name = QStringLiteral("quillmere-system");
    QDBusConnection::disconnectFromBus(name);
    return QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
  };
}

Task<std::optional<QDBusConnection>> BusConnection::get(Duration limit) {
  if (!connection_ || !connection_->isConnected()) {
    connection_.reset();
    if (scope_.isIdle()) scope_.spawn(openNow());
    waiters_.emplace_back();
    auto waiting = waiters_.back().wait();
    co_await withTimeout(limit, std::move(waiting));
  }
  co_return connection_;
}

Task<void> BusConnection::openNow() {
  auto opening =
      offload(workers_, [open = open_](const StopFlag&) { return std::make_shared<QDBusConnection>(open()); });
  const std::shared_ptr<QDBusConnection> opened = co_await std::move(opening);
  if (opened->isConnected()) connection_ = *opened;
  for (auto& waiter : std::exchange(waiters_, {})) waiter.resolve();
}

Task<std::optional<QDBusMessage>> BusConnection::call(QDBusMessage message, Duration limit) {
  std::optional<QDBusConnection> bus = co_await get(limit);
  if (!bus) co_return std::nullopt;
  const auto milliseconds = int(std::chrono::duration_cast<std::chrono::milliseconds>(limit).count());
  QDBusPendingCallWatcher watcher(bus->asyncCall(message, milliseconds));
  Completion<> finished;
  QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &watcher,
                   [finished]() mutable { finished.resolve(); });
  co_await finished.wait();
  if (watcher.isError()) co_return std::nullopt;
  co_return watcher.reply();
}

void BusConnection::send(const QDBusMessage& message) {
  if (connection_) connection_->asyncCall(message);
}

}  // namespace quillmere
