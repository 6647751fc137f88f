#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QJsonDocument>
#include <QJsonObject>

#include "app/cli/Commands.h"
#include "app/compose/ControlNames.h"
#include "base/async/Async.h"
#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

constexpr int answerTimeoutMs = 5000;

QString methodName(ControlOptions::Action action) {
  switch (action) {
    case ControlOptions::Action::toggle:
      return QStringLiteral("Toggle");
    case ControlOptions::Action::cancel:
      return QStringLiteral("Cancel");
    case ControlOptions::Action::status:
      return QStringLiteral("Status");
    case ControlOptions::Action::show:
      return QStringLiteral("ShowWindow");
    case ControlOptions::Action::quit:
      return QStringLiteral("Quit");
  }
  return {};
}

// A sentence for why nobody answered as asked.
QString failureText(const QDBusError& error) {
  if (error.name() == QStringLiteral("org.freedesktop.DBus.Error.NameHasNoOwner"))
    return localizedText("cli.control.notRunning");
  switch (error.type()) {
    case QDBusError::ServiceUnknown:
    case QDBusError::NoServer:
      return localizedText("cli.control.notRunning");
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
      return localizedText("cli.control.noAnswer");
    default:
      return error.message();
  }
}

void printStatus(Terminal& terminal, const QJsonObject& status, bool isJson) {
  if (isJson) {
    terminal.json(status);
    return;
  }
  const QString state = status["state"].toString();
  QString line = localizedText(QStringLiteral("cli.control.state.") + state);
  if (state == QStringLiteral("recording"))
    line += QStringLiteral(" %1 s").arg(status["seconds"].toDouble(), 0, 'f', 1);
  terminal.out(line);
  terminal.out(localizedText("cli.control.mode", status["mode"].toString()));
  terminal.out(localizedText("cli.control.microphone", status["microphone"].toString()));
  if (const QString paste = status["paste"].toString(); !paste.isEmpty() && paste != QStringLiteral("none")) {
    const bool isThere = paste == QStringLiteral("pasted") || status["onClipboard"].toBool();
    const QString fate = QStringLiteral("cli.control.paste.") + (isThere ? paste : QStringLiteral("lost"));
    terminal.out(localizedText("cli.control.lastText", localizedText(fate)));
  }
  if (const QString error = status["error"].toString(); !error.isEmpty())
    terminal.out(localizedText("cli.control.lastError", error));
}

}  // namespace

Task<int> runControl(CommandContext context, ControlOptions options) {
  const QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) co_return fail(context, {localizedText("cli.control.noBus"), exitFailure});
  auto call = QDBusMessage::createMethodCall(QString::fromLatin1(controlService), QString::fromLatin1(controlPath),
                                             QString::fromLatin1(controlInterface), methodName(options.action));
  if (options.action == ControlOptions::Action::toggle)
    call << (options.mode ? argumentText(*options.mode) : QString());
  call.setAutoStartService(false);

  Completion<QDBusMessage> answered;
  QDBusPendingCallWatcher watcher(bus.asyncCall(call, answerTimeoutMs));
  QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &watcher,
                   [&watcher, answered]() mutable { answered.resolve(watcher.reply()); });
  const QDBusMessage reply = co_await answered.wait();
  if (reply.type() == QDBusMessage::ErrorMessage)
    co_return fail(context, {failureText(QDBusError(reply)), exitFailure});
  if (options.action == ControlOptions::Action::status) {
    const QByteArray json = reply.arguments().value(0).toString().toUtf8();
    printStatus(context.terminal, QJsonDocument::fromJson(json).object(), options.isJson);
  }
  co_return exitOk;
}

}  // namespace quillmere
