#include "support/PulseServer.h"

#include <sys/prctl.h>

#include <QFile>
#include <QStandardPaths>
#include <csignal>
#include <thread>

namespace quillmere {
namespace {

constexpr int processLimitMs = 20'000;

bool isInstalled(const char* program) {
  return !QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty();
}

}  // namespace

PulseServer::PulseServer() {
  // Goes with the test, also with one that is killed.
  daemon_.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
  daemon_.setProcessEnvironment(environment());
  daemon_.setStandardOutputFile(QProcess::nullDevice());
  daemon_.setStandardErrorFile(folder_.filePath("server.log"));
}

PulseServer::~PulseServer() {
  kill();
}

bool PulseServer::isAvailable() {
  return isInstalled("pulseaudio") && isInstalled("pactl") && isInstalled("paplay");
}

QString PulseServer::address() const {
  return "unix:" + folder_.filePath("native");
}

QProcessEnvironment PulseServer::environment() const {
  QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
  variables.insert("HOME", folder_.path());
  for (const char* name : {"XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "PULSE_RUNTIME_PATH"})
    variables.insert(QString::fromLatin1(name), folder_.path());
  for (const char* name : {"PULSE_SERVER", "PULSE_SINK", "PULSE_SOURCE", "DISPLAY", "DBUS_SESSION_BUS_ADDRESS"})
    variables.remove(QString::fromLatin1(name));
  return variables;
}

bool PulseServer::start() {
  // Without norewinds a null sink works in blocks of two seconds.
  QStringList lines{QString("load-module module-native-protocol-unix socket=%1/native").arg(folder_.path())};
  lines +=
      "load-module module-null-sink sink_name=speakers norewinds=1 "
      "sink_properties=\"device.description='Test Speakers' device.bus=pci device.form_factor=internal\"";
  lines += "set-default-sink speakers";
  lines +=
      "load-module module-null-sink sink_name=mic_feed norewinds=1 rate=48000 channels=1 "
      "sink_properties=\"device.description='Mic Feed'\"";
  lines +=
      "load-module module-remap-source source_name=virtual_mic master=mic_feed.monitor "
      "source_properties=\"device.description='Virtual USB Microphone' device.bus=usb "
      "device.form_factor=microphone\"";
  lines += "set-default-source virtual_mic";
  const QString script = folder_.filePath("server.pa");
  QFile file(script);
  if (!file.open(QIODevice::WriteOnly)) return false;
  file.write(lines.join(QLatin1Char('\n')).toUtf8() + '\n');
  file.close();
  QFile::remove(folder_.filePath("native"));
  daemon_.start("pulseaudio", {"-n", "-F", script, "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no",
                               "--realtime=no", "--high-priority=no", "--log-target=stderr"});
  if (!daemon_.waitForStarted(processLimitMs)) return false;
  for (int attempt = 0; attempt < 400 && daemon_.state() == QProcess::Running; ++attempt) {
    bool isReady = false;
    pactl({"info"}, &isReady);
    if (isReady) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(25));
  }
  return false;
}

void PulseServer::kill() {
  if (daemon_.state() == QProcess::NotRunning) return;
  daemon_.kill();
  daemon_.waitForFinished(processLimitMs);
}

void PulseServer::terminate() {
  if (daemon_.state() == QProcess::NotRunning) return;
  daemon_.terminate();
  daemon_.waitForFinished(processLimitMs);
}

void PulseServer::setFrozen(bool isFrozen) {
  ::kill(pid_t(daemon_.processId()), isFrozen ? SIGSTOP : SIGCONT);
}

QString PulseServer::pactl(const QStringList& arguments, bool* ok) {
  QProcess process;
  process.setProcessEnvironment(environment());
  process.start("pactl", QStringList{"--server", address()} + arguments);
  const bool isFinished = process.waitForFinished(processLimitMs);
  if (ok) *ok = isFinished && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
  return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

int PulseServer::loadModule(const QStringList& arguments) {
  bool isLoaded = false;
  const int number = pactl(QStringList{"load-module"} + arguments, &isLoaded).toInt();
  return isLoaded ? number : -1;
}

bool PulseServer::unloadModule(int number) {
  bool isUnloaded = false;
  pactl({"unload-module", QString::number(number)}, &isUnloaded);
  return isUnloaded;
}

int PulseServer::plugIn(const QString& name, const QString& properties) {
  const QString feed = name + "_feed";
  const int number = loadModule({"module-null-sink", "sink_name=" + feed, "norewinds=1", "channels=1"});
  if (number < 0) return number;
  const int source = loadModule({"module-remap-source", "source_name=" + name, QString("master=%1.monitor").arg(feed),
                                 "source_properties=" + properties});
  return source < 0 ? source : number;
}

std::shared_ptr<QProcess> PulseServer::play(const QString& wavPath, const QString& sink) {
  const std::shared_ptr<QProcess> process(new QProcess, [](QProcess* player) {
    player->kill();
    player->waitForFinished(processLimitMs);
    delete player;
  });
  process->setProcessEnvironment(environment());
  process->start("paplay", {"--server", address(), "--device", sink, "--latency-msec=1000", wavPath});
  process->waitForStarted(processLimitMs);
  return process;
}

}  // namespace quillmere
