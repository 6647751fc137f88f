#include "platform/session/SessionAccessibilitySwitch.h"

#include <QDBusArgument>
#include <QDBusVariant>
#include <QVariantMap>

namespace quillmere {
namespace {

constexpr Duration limit = std::chrono::milliseconds(900);  // the service may have to be started first
const QString status = QStringLiteral("org.a11y.Status");
const QString isEnabled = QStringLiteral("IsEnabled");

QDBusMessage propertyCall(const char* method) {
  return QDBusMessage::createMethodCall(QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
                                        QStringLiteral("org.freedesktop.DBus.Properties"), QString::fromLatin1(method));
}

}  // namespace

Task<std::optional<AccessibilitySwitch::State>> SessionAccessibilitySwitch::state() {
  QDBusMessage message = propertyCall("GetAll");
  message << status;
  const std::optional<QDBusMessage> reply = co_await bus_.call(message, limit);
  if (!reply) co_return std::nullopt;
  const auto values = qdbus_cast<QVariantMap>(reply->arguments().value(0));
  if (!values.contains(isEnabled)) co_return std::nullopt;
  State state;
  state.isOn = values.value(isEnabled).toBool();
  state.isScreenReaderOn = values.value(QStringLiteral("ScreenReaderEnabled")).toBool();
  co_return state;
}

Task<bool> SessionAccessibilitySwitch::turn(bool isOn) {
  QDBusMessage message = propertyCall("Set");
  message << status << isEnabled << QVariant::fromValue(QDBusVariant(isOn));
  const std::optional<QDBusMessage> reply = co_await bus_.call(message, limit);
  co_return reply.has_value();
}

}  // namespace quillmere
