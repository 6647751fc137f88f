#include "app/desktop/ControlService.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

#include "app/compose/ControlNames.h"

namespace quillmere {

ControlService::ControlService(Actions actions) : actions_(std::move(actions)) {}

ControlService::~ControlService() {
  if (!isRegistered_) return;
  QDBusConnection bus = QDBusConnection::sessionBus();
  bus.unregisterService(QString::fromLatin1(controlService));
  bus.unregisterObject(QString::fromLatin1(controlPath));
}

ControlService::Registration ControlService::registerOnBus() {
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return Registration::noBus;
  // The object first: whoever sees the name may call at once.
  bus.registerObject(QString::fromLatin1(controlPath), this, QDBusConnection::ExportScriptableSlots);
  const auto reply =
      bus.interface()->registerService(QString::fromLatin1(controlService), QDBusConnectionInterface::DontQueueService,
                                       QDBusConnectionInterface::DontAllowReplacement);
  isRegistered_ = reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered;
  if (isRegistered_) return Registration::registered;
  bus.unregisterObject(QString::fromLatin1(controlPath));
  return Registration::alreadyRunning;
}

bool ControlService::handOver(const QStringList& uris) {
  auto call = QDBusMessage::createMethodCall(
      QString::fromLatin1(controlService), QString::fromLatin1(controlPath), QString::fromLatin1(controlInterface),
      uris.isEmpty() ? QStringLiteral("ShowWindow") : QStringLiteral("OpenFiles"));
  if (!uris.isEmpty()) call << uris;
  return QDBusConnection::sessionBus().call(call, QDBus::Block, 5000).type() == QDBusMessage::ReplyMessage;
}

void ControlService::Toggle(const QString& mode) {
  actions_.toggle(mode);
}
void ControlService::Cancel() {
  actions_.cancel();
}
QString ControlService::Status() {
  return actions_.status();
}
void ControlService::ShowWindow() {
  actions_.showWindow();
}
void ControlService::OpenFiles(const QStringList& uris) {
  actions_.openFiles(uris);
}
void ControlService::Quit() {
  actions_.quit();
}

}  // namespace quillmere
