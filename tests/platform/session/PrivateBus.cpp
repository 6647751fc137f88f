#include "platform/session/PrivateBus.h"

namespace quillmere {

bool BusService::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
  QStringList arguments;
  for (const QVariant& argument : message.arguments())
    if (argument.canConvert<QString>()) arguments << argument.toString();
  calls << QString("%1(%2)").arg(message.member(), arguments.join(','));
  if (isMute) return true;
  const auto answer = answers.find(message.member());
  return connection.send(answer == answers.end() ? message.createReply()
                                                 : message.createReply(answer->second(message)));
}

PrivateBus::~PrivateBus() {
  for (const QString& name : names) QDBusConnection::disconnectFromBus(name);
}

// Any thread, one at a time.
QDBusConnection PrivateBus::connect() {
  names << QString("%1-%2").arg(bus.address()).arg(names.size());
  return QDBusConnection::connectToBus(bus.address(), names.last());
}

Player::Player(QDBusConnection on, const QString& name, const QString& state)
    : connection(std::move(on)), status(state) {
  const auto become = [this](const char* to) {
    return [this, to](const QDBusMessage&) {
      if (!isStubborn) status = QString::fromLatin1(to);
      return QVariant(QString());
    };
  };
  service.answers["Get"] = [this](const QDBusMessage&) { return QVariant::fromValue(QDBusVariant(status)); };
  service.answers["Pause"] = become("Paused");
  service.answers["Play"] = become("Playing");
  connection.registerVirtualObject("/org/mpris/MediaPlayer2", &service);
  addName(name);
}

ScreenSaver::ScreenSaver(QDBusConnection on) : connection(std::move(on)) {
  service.answers["Inhibit"] = [](const QDBusMessage&) { return QVariant(42u); };
  connection.registerVirtualObject("/org/freedesktop/ScreenSaver", &service);
  connection.registerService("org.freedesktop.ScreenSaver");
}

constexpr const char* managerPath = "/org/freedesktop/NetworkManager";

NetworkManager::NetworkManager(QDBusConnection on, uint firstState) : connection(std::move(on)), current(firstState) {
  service.answers["Get"] = [this](const QDBusMessage&) { return QVariant::fromValue(QDBusVariant(current)); };
  connection.registerVirtualObject(managerPath, &service);
  connection.registerService(name);
}

void NetworkManager::announce(uint state) {
  current = state;
  auto signal = QDBusMessage::createSignal(managerPath, name, "StateChanged");
  signal << state;
  connection.send(signal);
}

}  // namespace quillmere
