#include "e2e/Application.h"

#include <signal.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <QJsonDocument>

#include "e2e/Eventually.h"
#include "e2e/Microphone.h"

namespace quillmere {
namespace {

QString built(const char* name) {
  return qEnvironmentVariable("QUILLMERE_BUILD_DIR") + QStringLiteral("/src/app/") + QString::fromLatin1(name);
}

QDBusMessage ask(const char* method, const QVariantList& arguments = {}) {
  auto call = QDBusMessage::createMethodCall(QStringLiteral("com.quillmere.Quillmere"),
                                             QStringLiteral("/com/quillmere/Quillmere"),
                                             QStringLiteral("com.quillmere.Quillmere"), QString::fromLatin1(method));
  call.setArguments(arguments);
  call.setAutoStartService(false);
  return QDBusConnection::sessionBus().call(call, QDBus::Block, 10000);
}

}  // namespace

Application::Application(const QList<std::pair<QString, QString>>& settings) {
  const QString home = qEnvironmentVariable("DESKTOP_FOLDER");
  for (const char* folder : {"data/quillmere", "config/quillmere", "home/Documents"})
    QDir(home + u'/' + QString::fromLatin1(folder)).removeRecursively();
  const QString models = home + QStringLiteral("/data/quillmere/models");
  QDir().mkpath(models);
  QFile::link(qEnvironmentVariable("QUILLMERE_STARTER_MODEL"), models + QStringLiteral("/ggml-tiny.en.bin"));
  QDir().mkpath(home + QStringLiteral("/config/quillmere"));
  QFile file(home + QStringLiteral("/config/quillmere/quillmere.conf"));
  if (file.open(QIODevice::WriteOnly)) file.write("[General]\nhasCompletedOnboarding=true\n");
  file.close();
  command({"modes", "edit", "Default", "--model", "tiny.en"});
  set(QStringLiteral("clipboardRestoreDelaySeconds"), QStringLiteral("2"));
  for (const auto& [key, value] : settings) set(key, value);
}

Application::~Application() {
  if (isRunning() && !quit()) kill();
}

bool Application::start(const QStringList& arguments) {
  process_ = std::make_unique<QProcess>();
  process_->setStandardOutputFile(QProcess::nullDevice());
  process_->setStandardErrorFile(qEnvironmentVariable("DESKTOP_FOLDER") + QStringLiteral("/log/quillmere-desktop.log"),
                                 QIODevice::Append);
  process_->start(built("quillmere-desktop"), arguments);
  if (!process_->waitForStarted()) return false;
  return eventually([&] { return process_->state() == QProcess::NotRunning || !status().isEmpty(); }) && isRunning();
}

bool Application::isRunning() const {
  return process_ && process_->state() == QProcess::Running;
}

qint64 Application::processId() const {
  return process_ ? process_->processId() : 0;
}

bool Application::quit() {
  if (!isRunning()) return true;
  ask("Quit");
  return process_->waitForFinished(20000);
}

void Application::kill() {
  if (!isRunning()) return;
  ::kill(pid_t(process_->processId()), SIGKILL);
  process_->waitForFinished();
}

Application::Output Application::command(const QStringList& arguments, const QByteArray& input, int timeoutMs) {
  QProcess process;
  process.start(built("quillmere"), arguments);
  process.write(input);
  process.closeWriteChannel();
  if (!process.waitForFinished(timeoutMs)) {
    process.kill();
    process.waitForFinished();
  }
  return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

bool Application::set(const QString& key, const QString& value) {
  return command({QStringLiteral("settings"), QStringLiteral("set"), key, value}).code == 0;
}

void Application::toggle() {
  ask("Toggle", {QString()});
}

void Application::cancel() {
  ask("Cancel");
}

QJsonObject Application::status() const {
  const QDBusMessage reply = ask("Status");
  if (reply.type() != QDBusMessage::ReplyMessage) return {};
  return QJsonDocument::fromJson(reply.arguments().value(0).toString().toUtf8()).object();
}

QString Application::state() const {
  return status()[QStringLiteral("state")].toString();
}

bool Application::waitForState(const QString& wanted) const {
  return eventually([&] { return state() == wanted || !isRunning(); }, std::chrono::seconds(60)) && isRunning();
}

bool Application::dictate(double seconds) {
  toggle();
  if (!waitForState(QStringLiteral("recording"))) return false;
  Microphone microphone;
  microphone.speak(seconds);
  toggle();
  return waitForState(QStringLiteral("idle"));
}

QList<QJsonObject> Application::history() {
  QList<QJsonObject> rows;
  for (const QByteArray& line : command({"history", "--json"}).out.split('\n'))
    if (!line.trimmed().isEmpty()) rows << QJsonDocument::fromJson(line).object();
  return rows;
}

QByteArray Application::errors() const {
  QFile file(qEnvironmentVariable("DESKTOP_FOLDER") + QStringLiteral("/log/quillmere-desktop.log"));
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace quillmere
