#pragma once
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace quillmere {

// A message bus of the test's own. Its services can't be started by name. Throws where dbus-daemon does not come up.
class SessionBus {
 public:
  SessionBus();
  SessionBus(const SessionBus&) = delete;
  SessionBus& operator=(const SessionBus&) = delete;
  ~SessionBus();

  // Another bus, at another address, takes its place.
  void restart();
  QString address() const { return address_; }

 private:
  void stop();

  QTemporaryDir folder_;
  QProcess daemon_;
  QString address_;
};

}  // namespace quillmere
