#include "app/session/KeyringProbe.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

#include "base/async/Async.h"

namespace quillmere {

Task<KeyringState> probeKeyring() {
  const QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) co_return KeyringState::absent;
  auto call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.secrets"),
                                             QStringLiteral("/org/freedesktop/secrets/aliases/default"),
                                             QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
  call << QStringLiteral("org.freedesktop.Secret.Collection") << QStringLiteral("Locked");
  Completion<QDBusMessage> answered;
  QDBusPendingCallWatcher watcher(bus.asyncCall(call, 2000));
  QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &watcher,
                   [&watcher, answered]() mutable { answered.resolve(watcher.reply()); });
  const QDBusMessage reply = co_await answered.wait();
  if (reply.type() != QDBusMessage::ReplyMessage) co_return KeyringState::absent;
  const bool isLocked = reply.arguments().value(0).value<QDBusVariant>().variant().toBool();
  co_return isLocked ? KeyringState::locked : KeyringState::unlocked;
}

}  // namespace quillmere
