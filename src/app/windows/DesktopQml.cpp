#include "app/windows/DesktopQml.h"

#include <QQmlComponent>
#include <QQmlContext>
#include <QtQml>

#include "app/windows/IconProvider.h"

// Made by the build from the QML files and from what QmlTypes.h declares.
void qml_register_types_Quillmere();

namespace quillmere {
namespace {

QByteArray propertyName(const QString& name) {
  return "quillmere" + name.toLatin1();
}

}  // namespace

void DesktopQml::prepareGraphics() {
  if (!qEnvironmentVariableIsSet("QT_QUICK_BACKEND")) QQuickWindow::setSceneGraphBackend(QStringLiteral("software"));
}

DesktopQml::DesktopQml(bool usesPortal, const Logging& logging)
    : logger_(logging.logger(QStringLiteral("Interface"))), appearance_(usesPortal), theme_(appearance_) {
  // The linker drops what nobody calls from a static library.
  [[maybe_unused]] static const bool isRegistered = (qml_register_types_Quillmere(), true);
  engine_ = std::make_unique<QQmlEngine>();
  engine_->addImageProvider(QStringLiteral("icon"), new IconProvider);
  engine_->setOutputWarningsToStandardError(false);
  QObject::connect(engine_.get(), &QQmlEngine::warnings, engine_.get(), [this](const QList<QQmlError>& errors) {
    for (const QQmlError& error : errors) logger_.warning("%{public}s", error.toString());
  });
  provide(QStringLiteral("Theme"), &theme_);
}

DesktopQml::~DesktopQml() = default;

void DesktopQml::provide(const QString& name, QObject* object) {
  if (object) QQmlEngine::setObjectOwnership(object, QQmlEngine::CppOwnership);
  engine_->setProperty(propertyName(name), QVariant::fromValue(object));
}

QObject* DesktopQml::provided(const QQmlEngine& engine, const QString& name) {
  return engine.property(propertyName(name)).value<QObject*>();
}

QUrl DesktopQml::fileUrl(const QString& name) {
  return QUrl(QStringLiteral("qrc:/qt-project.org/imports/Quillmere/") + name + QStringLiteral(".qml"));
}

std::unique_ptr<QQuickWindow> DesktopQml::createWindow(const QString& name, const QVariantMap& properties) {
  QQmlComponent component(engine_.get(), fileUrl(name));
  std::unique_ptr<QObject> object(component.createWithInitialProperties(properties));
  auto* const window = qobject_cast<QQuickWindow*>(object.get());
  if (!window) {
    logger_.error("The window %{public}s can't be shown: %{public}s", name, component.errorString());
    return nullptr;
  }
  QQmlEngine::setObjectOwnership(window, QQmlEngine::CppOwnership);
  (void)object.release();
  return std::unique_ptr<QQuickWindow>(window);
}

}  // namespace quillmere
