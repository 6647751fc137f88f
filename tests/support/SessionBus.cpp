#include "support/SessionBus.h"

#include <sys/prctl.h>

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
  daemon_.start("dbus-daemon",
                {"--session", "--nofork", "--nopidfile", "--print-address", "--address=unix:tmpdir=/tmp"});
  if (!daemon_.waitForStarted() || !daemon_.waitForReadyRead()) throw std::runtime_error("dbus-daemon does not start");
  address_ = QString::fromLatin1(daemon_.readLine()).trimmed();
}

void SessionBus::stop() {
  if (daemon_.state() == QProcess::NotRunning) return;
  daemon_.kill();
  daemon_.waitForFinished();
}

}  // namespace quillmere
