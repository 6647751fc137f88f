#include "support/SessionBus.h"

#include <sys/prctl.h>

#include <QFile>
#include <QStandardPaths>
#include <csignal>

namespace quillmere {

SessionBus::~SessionBus() {
  stop();
}

bool SessionBus::isAvailable() {
  return !QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty();
}

bool SessionBus::start() {
  QFile configuration(folder_.filePath(QStringLiteral("bus.conf")));
  if (!configuration.open(QIODevice::WriteOnly)) return false;
  configuration.write(
      "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth>"
      "<policy context='default'><allow send_destination='*'/><allow receive_sender='*'/><allow own='*'/></policy>"
      "</busconfig>");
  configuration.close();
  // Goes with the test, also with one that is killed.
  daemon_.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
  daemon_.start(QStringLiteral("dbus-daemon"),
                {QStringLiteral("--config-file=") + configuration.fileName(), QStringLiteral("--nofork"),
                 QStringLiteral("--nopidfile"), QStringLiteral("--print-address")});
  if (!daemon_.waitForStarted() || !daemon_.waitForReadyRead()) return false;
  address_ = QString::fromLatin1(daemon_.readLine()).trimmed();
  return !address_.isEmpty();
}

void SessionBus::stop() {
  if (daemon_.state() == QProcess::NotRunning) return;
  daemon_.kill();
  daemon_.waitForFinished();
}

}  // namespace quillmere
