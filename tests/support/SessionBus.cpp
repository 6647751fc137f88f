#include "support/SessionBus.h"

#include <sys/prctl.h>

#include <QFile>
#include <csignal>
#include <stdexcept>

namespace quillmere {

SessionBus::SessionBus() {
  // Goes with the test, also with one that is killed.
  daemon_.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
  restart();
}

SessionBus::~SessionBus() {
  stop();
}

void SessionBus::restart() {
  stop();
  QFile configuration(folder_.filePath("bus.conf"));
  if (!configuration.open(QIODevice::WriteOnly)) throw std::runtime_error("the bus has no configuration");
  configuration.write(
      "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth>"
      "<policy context='default'><allow send_destination='*'/><allow receive_sender='*'/><allow own='*'/></policy>"
      "</busconfig>");
  configuration.close();
  daemon_.start("dbus-daemon",
                {"--config-file=" + configuration.fileName(), "--nofork", "--nopidfile", "--print-address"});
  if (!daemon_.waitForStarted() || !daemon_.waitForReadyRead()) throw std::runtime_error("dbus-daemon does not start");
  address_ = QString::fromLatin1(daemon_.readLine()).trimmed();
}

void SessionBus::stop() {
  if (daemon_.state() == QProcess::NotRunning) return;
  daemon_.kill();
  daemon_.waitForFinished();
}

}  // namespace quillmere
