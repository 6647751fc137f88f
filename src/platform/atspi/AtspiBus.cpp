#include "platform/atspi/AtspiBus.h"

#include <QDBusReply>
#include <QFileInfo>

namespace quillmere {
namespace {

using namespace std::chrono_literals;

const QString registryName = QStringLiteral("org.a11y.atspi.Registry");
const QString busService = QStringLiteral("org.freedesktop.DBus");
const QString busPath = QStringLiteral("/org/freedesktop/DBus");
constexpr int addressLimitMs = 3000;  // the launcher may have to be started first
constexpr int busLimitMs = 500;

// The address of a bus that somebody runs, read afresh: the D-Bus library would keep the first one, and start a bus of
// its own where there is none.
QString sessionBusAddress() {
  const QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
  if (!address.isEmpty()) return address;
  const QString socket = qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus");
  return QFileInfo::exists(socket) ? QStringLiteral("unix:path=") + socket : QString();
}

QString uniqueName() {
  static std::atomic<int> number = 0;
  return QStringLiteral("quillmere-accessibility-%1").arg(++number);
}

}  // namespace

AtspiBus::AtspiBus(const Logging& logging)
    : logger_(logging.logger(QStringLiteral("AtspiAccessibility"))), connection_(QString()) {}

AtspiBus::~AtspiBus() {
  forget();
}

bool AtspiBus::ensureConnected() {
  if (connection_.isConnected()) return true;
  const auto now = AtspiCaller::Clock::now();
  if (lastTry_ && now - *lastTry_ < 1s) return false;
  if (!name_.isEmpty()) logger_.info("The accessibility bus is gone");
  forget();
  const bool isConnected = connectToBus();
  lastTry_ = AtspiCaller::Clock::now();
  return isConnected;
}

bool AtspiBus::connectToBus() {
  const QString sessionAddress = sessionBusAddress();
  if (sessionAddress.isEmpty()) return false;
  const QString sessionName = uniqueName();
  QString address;
  {
    QDBusConnection session = QDBusConnection::connectToBus(sessionAddress, sessionName);
    if (session.isConnected()) {
      const QString service = QStringLiteral("org.a11y.Bus");
      const QString path = QStringLiteral("/org/a11y/bus");
      const QDBusReply<QString> reply =
          session.call(QDBusMessage::createMethodCall(service, path, service, QStringLiteral("GetAddress")),
                       QDBus::Block, addressLimitMs);
      if (reply.isValid()) address = reply.value();
    }
  }
  QDBusConnection::disconnectFromBus(sessionName);
  if (address.isEmpty()) return false;

  name_ = uniqueName();
  connection_ = QDBusConnection::connectToBus(address, name_);
  if (!connection_.isConnected()) {
    logger_.warning("The accessibility bus doesn't answer: %{public}s", connection_.lastError().message());
    forget();
    return false;
  }
  listen();
  registerEvents();
  logger_.info("Connected to the accessibility bus");
  return true;
}

void AtspiBus::listen() {
  const QString objectEvents = QStringLiteral("org.a11y.atspi.Event.Object");
  const QString windowEvents = QStringLiteral("org.a11y.atspi.Event.Window");
  connection_.connect(QString(), QString(), objectEvents, QStringLiteral("StateChanged"),
                      QStringList{QStringLiteral("focused")}, QString(), this, SLOT(onFocusChanged(QDBusMessage)));
  // GTK 4 begins these names with a small letter.
  for (const char* name : {"Activate", "activate"})
    connection_.connect(QString(), QString(), windowEvents, QString::fromLatin1(name), this,
                        SLOT(onWindowActivated(QDBusMessage)));
  for (const char* name : {"Deactivate", "deactivate"})
    connection_.connect(QString(), QString(), windowEvents, QString::fromLatin1(name), this,
                        SLOT(onWindowDeactivated(QDBusMessage)));
  connection_.connect(busService, busPath, busService, QStringLiteral("NameOwnerChanged"), this,
                      SLOT(onNameOwnerChanged(QString, QString, QString)));
}

void AtspiBus::registerEvents() {
  for (const char* event : {"object:state-changed:focused", "window:activate", "window:deactivate"}) {
    auto message = QDBusMessage::createMethodCall(registryName, QStringLiteral("/org/a11y/atspi/registry"),
                                                  registryName, QStringLiteral("RegisterEvent"));
    message << QString::fromLatin1(event) << QStringList() << QString();
    connection_.send(message);
  }
}

void AtspiBus::forget() {
  focusedPaths_.clear();
  activeWindow_.reset();
  processIds_.clear();
  silentPrograms_.clear();
  connection_ = QDBusConnection(QString());
  if (!name_.isEmpty()) QDBusConnection::disconnectFromBus(std::exchange(name_, QString()));
}

std::optional<AtspiReference> AtspiBus::lastFocus(const QString& program) const {
  const auto found = focusedPaths_.constFind(program);
  if (found == focusedPaths_.cend()) return std::nullopt;
  return AtspiReference{program, *found};
}

void AtspiBus::rememberFocus(const AtspiReference& element) {
  focusedPaths_.insert(element.bus, element.path);
}

qint64 AtspiBus::processId(const QString& program) {
  if (const auto known = processIds_.constFind(program); known != processIds_.cend()) return *known;
  auto message =
      QDBusMessage::createMethodCall(busService, busPath, busService, QStringLiteral("GetConnectionUnixProcessID"));
  message << program;
  const QDBusReply<uint> reply = connection_.call(message, QDBus::Block, busLimitMs);
  if (!reply.isValid()) return 0;
  return processIds_[program] = reply.value();
}

std::vector<AtspiReference> AtspiBus::programs(AtspiCaller& caller) const {
  return caller.children(AtspiReference{registryName, QStringLiteral("/org/a11y/atspi/accessible/root")});
}

void AtspiBus::onFocusChanged(const QDBusMessage& message) {
  const QVariantList arguments = message.arguments();
  if (arguments.size() < 2) return;
  if (arguments.at(1).toInt() != 0)
    focusedPaths_.insert(message.service(), message.path());
  else if (focusedPaths_.value(message.service()) == message.path())
    focusedPaths_.remove(message.service());
}

void AtspiBus::onWindowActivated(const QDBusMessage& message) {
  activeWindow_ = AtspiReference{message.service(), message.path()};
}

void AtspiBus::onWindowDeactivated(const QDBusMessage& message) {
  if (activeWindow_ == AtspiReference{message.service(), message.path()}) activeWindow_.reset();
}

void AtspiBus::onNameOwnerChanged(const QString& name, const QString&, const QString& newOwner) {
  if (name == registryName) {
    if (!newOwner.isEmpty()) registerEvents();
    return;
  }
  if (!newOwner.isEmpty()) return;
  focusedPaths_.remove(name);
  processIds_.remove(name);
  silentPrograms_.erase(name);
  if (activeWindow_ && activeWindow_->bus == name) activeWindow_.reset();
}

}  // namespace quillmere
