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

// A window with one text field, for tests that write into another program. Every change of the content, and the focus
// the field gets or loses, goes to standard output as one line of JSON:
//   {"event":"ready","pid":12,"kind":"line","text":""}   the window has been shown and the field has the keyboard
//   {"event":"text","text":"Hello","html":"..."}          ("html" of a rich text only)
//   {"event":"focus","hasFocus":true}
// It ends with the program that started it.
namespace {

void say(const QString& event, QJsonObject object) {
  object.insert(QStringLiteral("event"), event);
  std::puts(QJsonDocument(object).toJson(QJsonDocument::Compact).constData());
  std::fflush(stdout);
}

// The field under test, whatever its class.
struct Field {
  QWidget* widget = nullptr;
  std::function<QString()> text;
  std::function<QString()> html;
  std::function<void()> copy;
};

Field makeLine(const QString& text, QLineEdit::EchoMode mode, bool isReadOnly, const QString& placeholder) {
  auto* const line = new QLineEdit(text);
  line->setEchoMode(mode);
  line->setReadOnly(isReadOnly);
  line->setPlaceholderText(placeholder);
  return {line, [line] { return line->text(); }, {}, [line] { line->copy(); }};
}

template <typename Edit>
Field makeEdit(const QString& text, const QString& placeholder) {
  auto* const edit = new Edit;
  edit->setPlainText(text);
  edit->setPlaceholderText(placeholder);
  edit->setTabChangesFocus(true);
  Field field{edit, [edit] { return edit->toPlainText(); }, {}, [edit] { edit->copy(); }};
  if constexpr (std::is_same_v<Edit, QTextEdit>) field.html = [edit] { return edit->toHtml(); };
  return field;
}

}  // namespace

int main(int argc, char** argv) {
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("text_target"));
  QCommandLineParser options;
  options.addHelpOption();
  options.addOptions({
      {QStringLiteral("kind"), QStringLiteral("line, password, readonly, edit (rich text) or plain."),
       QStringLiteral("kind"), QStringLiteral("line")},
      {QStringLiteral("window-title"), QStringLiteral("Title of the window."), QStringLiteral("text"),
       QStringLiteral("Text target")},
      {QStringLiteral("text"), QStringLiteral("Content to begin with."), QStringLiteral("text")},
      {QStringLiteral("label"), QStringLiteral("A label in front of the field, its accessible name."),
       QStringLiteral("text")},
      {QStringLiteral("placeholder"), QStringLiteral("Shown in the empty field."), QStringLiteral("text")},
      {QStringLiteral("select"), QStringLiteral("Begins with everything selected.")},
      {QStringLiteral("menu"), QStringLiteral("A menu bar with File and Edit; Copy copies what is selected.")},
      {QStringLiteral("copy-word"), QStringLiteral("The title of that Copy item."), QStringLiteral("text"),
       QStringLiteral("&Copy")},
  });
  options.process(application);
  const QString kind = options.value(QStringLiteral("kind"));
  const QString text = options.value(QStringLiteral("text"));
  const QString placeholder = options.value(QStringLiteral("placeholder"));

  Field field;
  if (kind == QLatin1String("line"))
    field = makeLine(text, QLineEdit::Normal, false, placeholder);
  else if (kind == QLatin1String("password"))
    field = makeLine(text, QLineEdit::Password, false, placeholder);
  else if (kind == QLatin1String("readonly"))
    field = makeLine(text, QLineEdit::Normal, true, placeholder);
  else if (kind == QLatin1String("edit"))
    field = makeEdit<QTextEdit>(text, placeholder);
  else if (kind == QLatin1String("plain"))
    field = makeEdit<QPlainTextEdit>(text, placeholder);
  else
    options.showHelp(2);

  const auto tell = [&] {
    QJsonObject object{{QStringLiteral("text"), field.text()}};
    if (field.html) object.insert(QStringLiteral("html"), field.html());
    say(QStringLiteral("text"), object);
  };
  if (auto* const line = qobject_cast<QLineEdit*>(field.widget)) {
    QObject::connect(line, &QLineEdit::textChanged, tell);
    if (options.isSet(QStringLiteral("select"))) line->selectAll();
  } else if (auto* const rich = qobject_cast<QTextEdit*>(field.widget)) {
    QObject::connect(rich, &QTextEdit::textChanged, tell);
    if (options.isSet(QStringLiteral("select"))) rich->selectAll();
  } else if (auto* const plain = qobject_cast<QPlainTextEdit*>(field.widget)) {
    QObject::connect(plain, &QPlainTextEdit::textChanged, tell);
    if (options.isSet(QStringLiteral("select"))) plain->selectAll();
  }

  QWidget window;
  window.setWindowTitle(options.value(QStringLiteral("window-title")));
  auto* const layout = new QVBoxLayout(&window);
  if (options.isSet(QStringLiteral("menu"))) {
    auto* const bar = new QMenuBar;
    bar->addMenu(QStringLiteral("&File"))->addAction(QStringLiteral("&Quit"), &application, &QApplication::quit);
    auto* const edit = bar->addMenu(QStringLiteral("&Edit"));
    edit->addAction(QStringLiteral("Cu&t"));
    edit->addAction(options.value(QStringLiteral("copy-word")), QKeySequence(QKeySequence::Copy), field.widget,
                    [&] { field.copy(); });
    layout->setMenuBar(bar);
  }
  if (options.isSet(QStringLiteral("label"))) {
    auto* const label = new QLabel(options.value(QStringLiteral("label")));
    label->setBuddy(field.widget);
    layout->addWidget(label);
  }
  layout->addWidget(field.widget);
  window.resize(420, 160);
  window.show();
  window.activateWindow();
  field.widget->setFocus();

  bool isReady = false;
  QObject::connect(&application, &QApplication::focusChanged, [&](QWidget* before, QWidget* now) {
    if (now == field.widget && !isReady) {
      isReady = true;
      say(QStringLiteral("ready"), {{QStringLiteral("pid"), qint64(QCoreApplication::applicationPid())},
                                    {QStringLiteral("kind"), kind},
                                    {QStringLiteral("text"), field.text()}});
    } else if (now == field.widget || before == field.widget) {
      say(QStringLiteral("focus"), {{QStringLiteral("hasFocus"), now == field.widget}});
    }
  });
  return QApplication::exec();
}
