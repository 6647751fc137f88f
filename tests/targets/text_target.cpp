#include <sys/prctl.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QTextEdit>
#include <QVBoxLayout>
#include <QWidget>
#include <csignal>
#include <cstdio>

// A window with one text field, for tests that write into another program. Every change of the content goes to standard
// output as one line of JSON: {"text":"Hello"}. It ends with the program that started it.
namespace {

void tell(const QString& text) {
  std::puts(QJsonDocument(QJsonObject{{"text", text}}).toJson(QJsonDocument::Compact).constData());
  std::fflush(stdout);
}

QWidget* makeLine(const QString& text, QLineEdit::EchoMode mode, bool isReadOnly, bool isSelected) {
  auto* const line = new QLineEdit(text);
  line->setEchoMode(mode);
  line->setReadOnly(isReadOnly);
  if (isSelected) line->selectAll();
  QObject::connect(line, &QLineEdit::textChanged, tell);
  return line;
}

template <typename Edit>
QWidget* makeEdit(const QString& text, bool isSelected) {
  auto* const edit = new Edit;
  edit->setPlainText(text);
  edit->setTabChangesFocus(true);
  if (isSelected) edit->selectAll();
  QObject::connect(edit, &Edit::textChanged, [edit] { tell(edit->toPlainText()); });
  return edit;
}

}  // namespace

int main(int argc, char** argv) {
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  QApplication application(argc, argv);
  QApplication::setApplicationName("text_target");
  QCommandLineParser options;
  options.addHelpOption();
  options.addOptions({
      {"kind", "line, password, readonly, edit (rich text) or plain.", "kind", "line"},
      {"window-title", "Title of the window.", "text", "Text target"},
      {"text", "Content to begin with.", "text"},
      {"label", "A label in front of the field, its accessible name.", "text"},
      {"select", "Begins with everything selected."},
      {"menu", "A menu bar with File and Edit."},
  });
  options.process(application);
  const QString kind = options.value("kind"), text = options.value("text");
  const bool isSelected = options.isSet("select");
  QWidget* field = nullptr;
  if (kind == "line" || kind == "readonly")
    field = makeLine(text, QLineEdit::Normal, kind == "readonly", isSelected);
  else if (kind == "password")
    field = makeLine(text, QLineEdit::Password, false, isSelected);
  else if (kind == "edit")
    field = makeEdit<QTextEdit>(text, isSelected);
  else if (kind == "plain")
    field = makeEdit<QPlainTextEdit>(text, isSelected);
  else
    options.showHelp(2);

  QWidget window;
  window.setWindowTitle(options.value("window-title"));
  auto* const layout = new QVBoxLayout(&window);
  if (options.isSet("menu")) {
    auto* const bar = new QMenuBar;
    bar->addMenu("&File")->addAction("&Quit", &application, &QApplication::quit);
    auto* const edit = bar->addMenu("&Edit");
    edit->addAction("Cu&t");
    edit->addAction("&Copy")->setShortcut(QKeySequence::Copy);
    layout->setMenuBar(bar);
  }
  if (options.isSet("label")) {
    auto* const label = new QLabel(options.value("label"));
    label->setBuddy(field);
    layout->addWidget(label);
  }
  layout->addWidget(field);
  window.resize(420, 160);
  window.show();
  window.activateWindow();
  field->setFocus();
  return QApplication::exec();
}
