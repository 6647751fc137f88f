#pragma once
#include <QDBusConnection>
#include <QDBusMessage>
#include <QMap>
#include <QObject>
#include <atomic>
#include <optional>

#include "base/log/Logger.h"
#include "platform/atspi/AtspiCaller.h"

namespace quillmere {

// The connection to the accessibility bus and what its events told: the focused object of each program and the active
// window. Lives on the accessibility thread.
class AtspiBus final : public QObject {
  Q_OBJECT

 public:
  explicit AtspiBus(const Logging& logging);
  ~AtspiBus() override;

  // Connects unless it is connected or was tried less than a second ago. Whether there is a connection now.
  bool ensureConnected();
  QDBusConnection connection() const { return connection_; }
  AtspiCaller::SilentPrograms& silentPrograms() { return silentPrograms_; }

  std::optional<AtspiReference> lastFocus(const QString& program) const;
  // Found otherwise; counts until an event tells something newer.
  void rememberFocus(const AtspiReference& element);
  std::optional<AtspiReference> lastActiveWindow() const { return activeWindow_; }
  // The process behind a bus name, as the bus itself knows it; 0: unknown.
  qint64 processId(const QString& program);
  // The root objects of all programs on the bus.
  std::vector<AtspiReference> programs(AtspiCaller& caller) const;

 private Q_SLOTS:
  void onFocusChanged(const QDBusMessage& message);
  void onWindowActivated(const QDBusMessage& message);
  void onWindowDeactivated(const QDBusMessage& message);
  void onNameOwnerChanged(const QString& name, const QString& oldOwner, const QString& newOwner);

 private:
  bool connectToBus();
  void listen();
  void registerEvents();
  void forget();

  Logger logger_;
  QString name_;
  QDBusConnection connection_;
  std::optional<AtspiCaller::Clock::time_point> lastTry_;
  QMap<QString, QString> focusedPaths_;  // by program
  std::optional<AtspiReference> activeWindow_;
  QMap<QString, qint64> processIds_;
  AtspiCaller::SilentPrograms silentPrograms_;
};

}  // namespace quillmere
