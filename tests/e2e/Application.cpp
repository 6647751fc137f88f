#include "e2e/Application.h"

#include <signal.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QJsonDocument>

#include "e2e/Eventually.h"
#include "e2e/Microphone.h"
#include "support/Files.h"

namespace quillmere {
namespace {

QDBusMessage ask(const char* method, const QVariantList& arguments = {}) {
  auto call = QDBusMessage::createMethodCall("com.quillmere.Quillmere", "/com/quillmere/Quillmere",
                                             "com.quillmere.Quillmere", QString::fromLatin1(method));
  call.setArguments(arguments);
  call.setAutoStartService(false);
  return QDBusConnection::sessionBus().call(call, QDBus::Block, 10000);
}

}  // namespace

Application::Application(const QList<std::pair<QString, QString>>& settings) {
  const QString home = qEnvironmentVariable("DESKTOP_FOLDER");
  for (const char* folder : {"data/quillmere", "config/quillmere", "home/Documents"})
    QDir(home + u'/' + QString::fromLatin1(folder)).removeRecursively();
  const QString models = home + "/data/quillmere/models";
  QDir().mkpath(models);
  QFile::link(qEnvironmentVariable("QUILLMERE_STARTER_MODEL"), models + "/ggml-tiny.en.bin");
  writeFile(home + "/config/quillmere/quillmere.conf", "[General]\nhasCompletedOnboarding=true\n");
  command({"modes", "edit", "Default", "--model", "tiny.en"});
  command({"settings", "set", "clipboardRestoreDelaySeconds", "2"});
  for (const auto& [key, value] : settings) command({"settings", "set", key, value});
}

Application::~Application() {
  if (isRunning() && !quit()) kill();
}

bool Application::start(const QStringList& arguments) {
  process_ = std::make_unique<QProcess>();
  process_->setStandardOutputFile(QProcess::nullDevice());
  process_->setStandardErrorFile(qEnvironmentVariable("DESKTOP_FOLDER") + "/log/quillmere-desktop.log",
                                 QIODevice::Append);
  process_->start(program("quillmere-desktop"), arguments);
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

QString Application::program(const char* name) {
  return qEnvironmentVariable("QUILLMERE_BUILD_DIR") + "/src/app/" + name;
}

Tool Application::command(const QStringList& arguments) {
  return Tool::run(program("quillmere"), arguments, 120000);
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
  return status()["state"].toString();
}

bool Application::waitForState(const QString& wanted) const {
  return eventually([&] { return state() == wanted || !isRunning(); }, std::chrono::seconds(60)) && isRunning();
}

bool Application::record(double seconds) {
  toggle();
  if (!waitForState("recording")) return false;
  Microphone().speak(seconds);
  return true;
}

bool Application::dictate(double seconds) {
  if (!record(seconds)) return false;
  toggle();
  return waitForState("idle");
}

QList<QJsonObject> Application::history(const QStringList& options) {
  QList<QJsonObject> rows;
  for (const QByteArray& line : command(QStringList{"history", "--json"} + options).out.split('\n'))
    if (!line.trimmed().isEmpty()) rows << QJsonDocument::fromJson(line).object();
  return rows;
}

QByteArray Application::errors() const {
  return readFile(qEnvironmentVariable("DESKTOP_FOLDER") + "/log/quillmere-desktop.log");
}

}  // namespace quillmere
