#include "platform/session/FreedesktopNotifications.h"

#include <QVariantMap>

namespace quillmere {
namespace {

// The service may have to be started first.
constexpr Duration answerLimit = std::chrono::seconds(2);
const QString serviceName = QStringLiteral("org.freedesktop.Notifications");
const QString objectPath = QStringLiteral("/org/freedesktop/Notifications");
constexpr int serversChoice = -1;  // of how long it is shown

}  // namespace

Task<bool> FreedesktopNotifications::show(Content content) {
  if (!readsMarkup_) {
    const auto answer = co_await bus_.call(
        QDBusMessage::createMethodCall(serviceName, objectPath, serviceName, QStringLiteral("GetCapabilities")),
        answerLimit);
    if (!answer) co_return false;
    readsMarkup_ = answer->arguments().value(0).toStringList().contains(QStringLiteral("body-markup"));
  }
  const uchar urgency = content.isCritical ? 2 : 1;
  QVariantMap hints;
  hints[QStringLiteral("urgency")] = QVariant::fromValue(urgency);
  hints[QStringLiteral("desktop-entry")] = QStringLiteral("com.quillmere.Quillmere");
  auto message = QDBusMessage::createMethodCall(serviceName, objectPath, serviceName, QStringLiteral("Notify"));
  message << QStringLiteral("Quillmere") << shown_ << QStringLiteral("com.quillmere.Quillmere")
          << QStringLiteral("Quillmere") << (*readsMarkup_ ? content.text.toHtmlEscaped() : content.text)
          << QStringList() << hints << serversChoice;
  const std::optional<QDBusMessage> reply = co_await bus_.call(message, answerLimit);
  if (!reply) co_return false;
  shown_ = reply->arguments().value(0).toUInt();
  co_return true;
}

}  // namespace quillmere
