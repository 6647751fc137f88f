#include "e2e/TextField.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QUuid>

#include "e2e/Eventually.h"
#include "e2e/Tool.h"
#include "support/Files.h"

namespace quillmere {

TextField::TextField(Kind kind) : kind_(kind), title_("field-" + QUuid::createUuid().toString(QUuid::Id128).left(8)) {
  process_.setStandardErrorFile(QProcess::nullDevice());
  const QString target = qEnvironmentVariable("QUILLMERE_BUILD_DIR") + "/tests/targets/text_target";
  switch (kind) {
    case Kind::gtkEntry:
      process_.start("zenity", {"--entry", "--text=Words", "--title", title_});
      break;
    case Kind::gtkPassword:
      process_.start("zenity", {"--entry", "--hide-text", "--text=Secret", "--title", title_});
      break;
    case Kind::gtk4Editor:
      startGtk4();
      break;
    case Kind::qtLine:
      process_.start(target, {"--kind", "line", "--window-title", title_});
      break;
    case Kind::qtPassword:
      process_.start(target, {"--kind", "password", "--window-title", title_});
      break;
    case Kind::qtEditor:
      process_.start(target, {"--kind", "edit", "--window-title", title_});
      break;
    case Kind::chromiumTextarea:
    case Kind::unknownTextarea:
      startChromium();
      break;
    case Kind::tkText:
      startTk();
      break;
    case Kind::terminal:
      process_.start("xterm", {"-T", title_, "-e", "sh", "-c", "cat > '" + savedPath() + "'"});
      break;
  }
  isReady_ = process_.waitForStarted() && waitUntilActive();
}

TextField::TextField(TextField& sibling)
    : kind_(sibling.kind_), title_("field-" + QUuid::createUuid().toString(QUuid::Id128).left(8)) {
  sibling.process_.write(title_.toUtf8() + '\n');
  isReady_ = sibling.process_.waitForBytesWritten() && waitUntilActive();
}

TextField::~TextField() {
  process_.kill();
  process_.waitForFinished();
}

// The document is a file of the window's name, which text() has saved.
void TextField::startGtk4() {
  const QString document = writeFile(folder_.filePath(title_));
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("GSK_RENDERER", "cairo");
  process_.setProcessEnvironment(environment);
  process_.start("gnome-text-editor", {"--standalone", document});
}

void TextField::startChromium() {
  const QString page = writeFile(folder_.filePath("page.html"),
                                 "<!doctype html><meta charset=utf-8><title>" + title_.toUtf8() +
                                     "</title><textarea id=t autofocus rows=8 cols=60></textarea><script>t.focus();"
                                     "t.oninput=()=>{document.title='" +
                                     title_.toUtf8() + " text:'+t.value}</script>");
  QStringList arguments{"--no-sandbox",
                        "--disable-gpu",
                        "--no-first-run",
                        "--disable-background-networking",
                        "--user-data-dir=" + folder_.filePath("profile"),
                        "--app=file://" + page};
  if (kind_ == Kind::unknownTextarea)
    arguments << "--class=Unknown"
              << "--disable-renderer-accessibility";
  process_.start("chromium", arguments);
}

// Makes a window for every name that it reads, and tells the text in the title.
void TextField::startTk() {
  const QString script = writeFile(folder_.filePath("windows.tcl"), R"(wm withdraw .
proc tell {w name} {
  if {![winfo exists $w]} return
  wm title $w "$name text:[string trim [$w.t get 1.0 end]]"
  after 50 [list tell $w $name]
}
proc take {} {
  if {[gets stdin name] < 0} return
  set w [toplevel .w[string map {- _} $name]]
  pack [text $w.t]
  focus $w.t
  tell $w $name
}
fconfigure stdin -blocking 0
fileevent stdin readable take
)");
  process_.start("wish", {script});
  if (process_.waitForStarted()) process_.write(title_.toUtf8() + '\n');
}

QString TextField::windowName() const {
  for (const QString& line : Tool::run("wmctrl", {"-l"}).text().split(u'\n'))
    if (const qsizetype at = line.indexOf(title_); at >= 0) return line.mid(at);
  return {};
}

bool TextField::waitUntilActive() {
  return eventually(
      [&] {
        if (isActive()) return true;
        activate();
        return false;
      },
      std::chrono::seconds(60));
}

bool TextField::isActive() const {
  return Tool::run("xdotool", {"getactivewindow", "getwindowname"}).text().contains(title_);
}

void TextField::activate() {
  Tool::run("wmctrl", {"-a", title_});
}

QString TextField::savedText() const {
  return QFile::exists(savedPath()) ? QString::fromUtf8(readFile(savedPath())).trimmed() : QString();
}

QString TextField::text() {
  const auto press = [this](const char* key) {
    activate();
    Tool::run("xdotool", {"key", key});
  };
  switch (kind_) {
    case Kind::gtkEntry:
    case Kind::gtkPassword:
      if (process_.state() == QProcess::Running) {
        press("Return");
        process_.waitForFinished(10000);
      }
      return QString::fromUtf8(process_.readAllStandardOutput()).trimmed();
    case Kind::gtk4Editor:
      press("ctrl+s");
      return savedText();
    case Kind::qtLine:
    case Kind::qtPassword:
    case Kind::qtEditor:
      process_.waitForReadyRead(20);
      pending_ += process_.readAllStandardOutput();
      for (qsizetype end; (end = pending_.indexOf('\n')) >= 0; pending_.remove(0, end + 1))
        lastQtText_ = QJsonDocument::fromJson(pending_.left(end))["text"].toString();
      return lastQtText_;
    case Kind::chromiumTextarea:
    case Kind::unknownTextarea:
    case Kind::tkText:
      return windowName().section(" text:", 1);
    case Kind::terminal:
      press("Return");
      return savedText();
  }
  return {};
}

QString TextField::eventualText() {
  QString found;
  eventually([&] { return !(found = text()).isEmpty(); }, std::chrono::seconds(10));
  return found;
}

}  // namespace quillmere
