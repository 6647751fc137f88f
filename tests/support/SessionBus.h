#pragma once
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace quillmere {

// A message bus of the test's own. Its services can't be started by name.
class SessionBus {
 public:
  SessionBus() = default;
  SessionBus(const SessionBus&) = delete;
  SessionBus& operator=(const SessionBus&) = delete;
  ~SessionBus();

  static bool isAvailable();
  bool start();
  void stop();
  QString address() const { return address_; }

 private:
  QTemporaryDir folder_;
  QProcess daemon_;
  QString address_;
};

}  // namespace quillmere
