#include "support/SessionBus.h"

#include <sys/prctl.h>

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
  // Goes with the test, also with one that is killed.
  daemon_.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
  daemon_.start(QStringLiteral("dbus-daemon"),
                {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
                 QStringLiteral("--print-address"), QStringLiteral("--address=unix:tmpdir=/tmp")});
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
