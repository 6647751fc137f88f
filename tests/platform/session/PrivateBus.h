#pragma once
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <map>

#include "platform/session/BusConnection.h"
#include "support/InLoop.h"
#include "support/SessionBus.h"
#include "support/WaitUntil.h"

namespace quillmere {

// A service: notes every call as "member(arguments)" and answers as told.
class BusService final : public QDBusVirtualObject {
 public:
  using Answer = std::function<QVariant(const QDBusMessage&)>;
  std::map<QString, Answer> answers;  // by member; others get an empty reply
  bool isMute = false;
  QStringList calls;
  QString introspect(const QString&) const override { return {}; }
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;
  qsizetype count(const QString& call) const { return calls.count(call); }
};

// A bus of the test's own with everything that speaks to it; connections end with it.
struct PrivateBus : InLoop {
  ~PrivateBus();
  QDBusConnection connect();
  BusConnection::Open opener() {
    return [this] { return connect(); };
  }

  SessionBus bus;
  QStringList names;
  WorkerPool workers{1, "bus"};
};

// A media player on a connection of its own.
struct Player {
  Player(QDBusConnection on, const QString& name, const QString& state);
  void addName(const QString& name) { connection.registerService("org.mpris.MediaPlayer2." + name); }
  QDBusConnection connection;
  QString status;
  bool isStubborn = false;  // says that it plays whatever it is told
  BusService service;
};

// The screen saver's service, which keeps the machine awake.
struct ScreenSaver {
  explicit ScreenSaver(QDBusConnection on);
  QDBusConnection connection;
  BusService service;
};

// The service that knows whether there is a network; states as NetworkManager counts them.
struct NetworkManager {
  static constexpr const char* name = "org.freedesktop.NetworkManager";
  NetworkManager(QDBusConnection on, uint firstState);
  void announce(uint state);
  QDBusConnection connection;
  uint current;
  BusService service;
};

}  // namespace quillmere
