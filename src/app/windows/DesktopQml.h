#pragma once
#include <QQmlEngine>
#include <QQuickWindow>
#include <QString>
#include <QVariantMap>
#include <memory>

#include "app/windows/DesktopAppearance.h"
#include "app/windows/Theme.h"
#include "base/log/Logger.h"

namespace quillmere {

// The QML engine of the interface: the module "Quillmere" with Theme and the objects given to provide(), the icons, and
// windows made from the files under qml/. Main thread, needs a QGuiApplication.
class DesktopQml {
 public:
  // Before the application object is made: draws without a graphics card, which starts sooner, needs less memory and is
  // plenty for windows that rest most of the time. QT_QUICK_BACKEND wins.
  static void prepareGraphics();

  DesktopQml(bool usesPortal, const Logging& logging);
  ~DesktopQml();
  DesktopQml(const DesktopQml&) = delete;
  DesktopQml& operator=(const DesktopQml&) = delete;

  // `object` outlives the engine and is known as `name`, one of QmlTypes.h, to QML files that import Quillmere. Null
  // takes the name away again.
  void provide(const QString& name, QObject* object);
  // What provide() was given for this engine; null without anything.
  static QObject* provided(const QQmlEngine& engine, const QString& name);
  // A window of "qml/NAME.qml", not shown yet; null and a log line when the file is wrong. Properties are set before it
  // is complete.
  std::unique_ptr<QQuickWindow> createWindow(const QString& name, const QVariantMap& properties = {});

  Theme& theme() { return theme_; }
  DesktopAppearance& appearance() { return appearance_; }
  QQmlEngine& engine() { return *engine_; }
  static QUrl fileUrl(const QString& name);

 private:
  Logger logger_;
  DesktopAppearance appearance_;
  Theme theme_;
  std::unique_ptr<QQmlEngine> engine_;
};

}  // namespace quillmere
