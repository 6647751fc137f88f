#include "e2e/TextField.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUuid>

#include "e2e/Eventually.h"
#include "e2e/Tool.h"

namespace quillmere {

TextField::TextField(Kind kind)
    : kind_(kind), title_(QStringLiteral("field-") + QUuid::createUuid().toString(QUuid::Id128).left(8)) {
  process_.setStandardErrorFile(QProcess::nullDevice());
  const auto zenity = [&](const QStringList& arguments) {
    process_.start(QStringLiteral("zenity"), arguments + QStringList{QStringLiteral("--title"), title_});
  };
  switch (kind) {
    case Kind::gtkEntry:
      zenity({QStringLiteral("--entry"), QStringLiteral("--text=Words")});
      break;
    case Kind::gtkPassword:
      zenity({QStringLiteral("--entry"), QStringLiteral("--hide-text"), QStringLiteral("--text=Secret")});
      break;
    case Kind::gtkEditor:
      zenity({QStringLiteral("--text-info"), QStringLiteral("--editable")});
      break;
    case Kind::gtk4Editor:
      startGtk4();
      break;
    case Kind::qtLine:
      startQt("line");
      break;
    case Kind::qtPassword:
      startQt("password");
      break;
    case Kind::qtEditor:
      startQt("edit");
      break;
    case Kind::chromiumTextarea:
      startChromium();
      break;
    case Kind::terminal:
      process_.start(QStringLiteral("xterm"),
                     {QStringLiteral("-T"), title_, QStringLiteral("-e"), QStringLiteral("sh"), QStringLiteral("-c"),
                      QStringLiteral("cat > '%1/typed'").arg(folder_.path())});
      break;
  }
  isReady_ = process_.waitForStarted() && waitUntilActive();
}

TextField::~TextField() {
  process_.kill();
  process_.waitForFinished();
}

void TextField::startQt(const char* field) {
  process_.start(qEnvironmentVariable("QUILLMERE_BUILD_DIR") + QStringLiteral("/tests/targets/text_target"),
                 {QStringLiteral("--kind"), QString::fromLatin1(field), QStringLiteral("--window-title"), title_});
}

// The document is a file of the window's name, which text() has saved.
void TextField::startGtk4() {
  QFile document(folder_.filePath(title_));
  if (!document.open(QIODevice::WriteOnly)) return;
  document.close();
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert(QStringLiteral("GSK_RENDERER"), QStringLiteral("cairo"));
  process_.setProcessEnvironment(environment);
  process_.start(QStringLiteral("gnome-text-editor"), {QStringLiteral("--standalone"), document.fileName()});
}

void TextField::startChromium() {
  QFile page(folder_.filePath(QStringLiteral("page.html")));
  if (!page.open(QIODevice::WriteOnly)) return;
  page.write("<!doctype html><meta charset=utf-8><title>" + title_.toUtf8() +
             "</title><textarea id=t autofocus rows=8 cols=60></textarea><script>t.focus();"
             "t.oninput=()=>{document.title='" +
             title_.toUtf8() + " text:'+t.value}</script>");
  page.close();
  process_.start(QStringLiteral("chromium"),
                 {QStringLiteral("--no-sandbox"), QStringLiteral("--disable-gpu"), QStringLiteral("--no-first-run"),
                  QStringLiteral("--force-renderer-accessibility"), QStringLiteral("--disable-background-networking"),
                  QStringLiteral("--user-data-dir=") + folder_.filePath(QStringLiteral("profile")),
                  QStringLiteral("--app=file://") + page.fileName()});
}

QString TextField::windowName() const {
  for (const QString& line : Tool::run(QStringLiteral("wmctrl"), {QStringLiteral("-l")}).text().split(u'\n'))
    if (const qsizetype at = line.indexOf(title_); at >= 0) return line.mid(at);
  return {};
}

bool TextField::waitUntilActive() {
  return eventually(
      [&] {
        const Tool active =
            Tool::run(QStringLiteral("xdotool"), {QStringLiteral("getactivewindow"), QStringLiteral("getwindowname")});
        if (active.text().contains(title_)) return true;
        activate();
        return false;
      },
      std::chrono::seconds(60));
}

void TextField::activate() {
  Tool::run(QStringLiteral("wmctrl"), {QStringLiteral("-a"), title_});
}

QString TextField::text() {
  switch (kind_) {
    case Kind::gtkEntry:
    case Kind::gtkPassword:
    case Kind::gtkEditor:
      if (process_.state() == QProcess::Running) {
        activate();
        if (kind_ == Kind::gtkEditor)  // Return would be a line of text: over to the button
          Tool::run(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("ctrl+Tab")});
        Tool::run(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("Return")});
        process_.waitForFinished(10000);
      }
      return QString::fromUtf8(process_.readAllStandardOutput()).trimmed();
    case Kind::gtk4Editor: {
      activate();
      Tool::run(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("ctrl+s")});
      QFile document(folder_.filePath(title_));
      return document.open(QIODevice::ReadOnly) ? QString::fromUtf8(document.readAll()).trimmed() : QString();
    }
    case Kind::qtLine:
    case Kind::qtPassword:
    case Kind::qtEditor:
      process_.waitForReadyRead(20);
      pending_ += process_.readAllStandardOutput();
      for (qsizetype end; (end = pending_.indexOf('\n')) >= 0; pending_.remove(0, end + 1)) {
        const QJsonObject line = QJsonDocument::fromJson(pending_.left(end)).object();
        if (line.contains(QStringLiteral("text"))) lastQtText_ = line[QStringLiteral("text")].toString();
      }
      return lastQtText_;
    case Kind::chromiumTextarea:
      return windowName().section(QStringLiteral(" text:"), 1);
    case Kind::terminal: {
      activate();
      Tool::run(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("Return")});
      QFile typed(folder_.filePath(QStringLiteral("typed")));
      return typed.open(QIODevice::ReadOnly) ? QString::fromUtf8(typed.readAll()).trimmed() : QString();
    }
  }
  return {};
}

QString TextField::eventualText() {
  QString found;
  eventually([&] { return !(found = text()).isEmpty(); }, std::chrono::seconds(10));
  return found;
}

}  // namespace quillmere
