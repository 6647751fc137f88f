#include "app/windows/DesktopAppearance.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QEvent>
#include <QGuiApplication>
#include <QPalette>
#include <algorithm>

namespace quillmere {
namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearanceSpace = QStringLiteral("org.freedesktop.appearance");
const QString gnomeSpace = QStringLiteral("org.gnome.desktop.interface");

std::optional<QColor> colorOf(const QVariant& value) {
  if (!value.canConvert<QDBusArgument>()) return std::nullopt;
  const auto argument = value.value<QDBusArgument>();
  if (argument.currentType() != QDBusArgument::StructureType || argument.currentSignature() != QLatin1String("(ddd)"))
    return std::nullopt;
  double red = -1, green = -1, blue = -1;
  argument.beginStructure();
  argument >> red >> green >> blue;
  argument.endStructure();
  for (const double part : {red, green, blue})
    if (!(part >= 0 && part <= 1)) return std::nullopt;  // out of range: no preference
  return QColor::fromRgbF(float(red), float(green), float(blue));
}

}  // namespace

DesktopAppearance::DesktopAppearance(bool usesPortal, QObject* parent) : QObject(parent) {
  readPalette();
  qGuiApp->installEventFilter(this);
  if (usesPortal) readPortal();
}

bool DesktopAppearance::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::ApplicationPaletteChange && watched == qGuiApp) readPalette();
  return false;
}

void DesktopAppearance::readPalette() {
  if (hasScheme_) return;
  Values values = values_;
  const QPalette palette = QGuiApplication::palette();
  values.isDark = palette.color(QPalette::Window).lightnessF() < palette.color(QPalette::WindowText).lightnessF();
  set(values);
}

void DesktopAppearance::readPortal() {
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return;
  qDBusRegisterMetaType<QMap<QString, QVariantMap>>();
  bus.connect(portalService, portalPath, settingsInterface, QStringLiteral("SettingChanged"), this,
              SLOT(onSettingChanged(QString, QString, QDBusVariant)));
  QDBusMessage call =
      QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface, QStringLiteral("ReadAll"));
  call << QStringList{appearanceSpace, gnomeSpace};
  auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
    watcher->deleteLater();
    const QDBusPendingReply<QMap<QString, QVariantMap>> reply = *watcher;
    if (reply.isError()) return;  // no portal: the palette stands
    const auto spaces = reply.value();
    for (auto space = spaces.cbegin(); space != spaces.cend(); ++space)
      for (auto entry = space->cbegin(); entry != space->cend(); ++entry) take(space.key(), entry.key(), entry.value());
  });
}

void DesktopAppearance::onSettingChanged(const QString& space, const QString& key, const QDBusVariant& value) {
  take(space, key, value.variant());
}

void DesktopAppearance::take(const QString& space, const QString& key, const QVariant& value) {
  Values values = values_;
  if (space == appearanceSpace && key == QLatin1String("color-scheme")) {
    const uint scheme = value.toUInt();
    hasScheme_ = scheme == 1 || scheme == 2;
    values.isDark = scheme == 1;
    if (!hasScheme_) {
      readPalette();
      return;
    }
  } else if (space == appearanceSpace && key == QLatin1String("contrast")) {
    values.isHighContrast = value.toUInt() == 1;
  } else if (space == appearanceSpace && key == QLatin1String("accent-color")) {
    values.accent = colorOf(value);
  } else if (space == gnomeSpace && key == QLatin1String("enable-animations")) {
    values.hasAnimations = value.toBool();
  } else if (space == gnomeSpace && key == QLatin1String("text-scaling-factor")) {
    bool isNumber = false;
    const double scale = value.toDouble(&isNumber);
    if (isNumber) values.textScale = std::clamp(scale, 0.5, 3.0);
  }
  set(values);
}

void DesktopAppearance::set(const Values& values) {
  if (values == values_) return;
  values_ = values;
  Q_EMIT changed();
}

}  // namespace quillmere
