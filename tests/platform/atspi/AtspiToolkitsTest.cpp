#include <QFile>
#include <QTemporaryDir>

#include "platform/atspi/AtspiDesk.h"

namespace quillmere {
namespace {

class AtspiToolkitsTest : public AtspiTest {
 protected:
  QString file(const char* name, const QByteArray& content) {
    QFile file(folder.filePath(QString::fromLatin1(name)));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
    return file.fileName();
  }

  QTemporaryDir folder;
};

constexpr const char* letter = "Dear reader,\nthis is the second line.";

TEST_F(AtspiToolkitsTest, FieldsTellWhatTheyAre) {
  const QString text = "Schöne Grüße 漢字", greeting = file("greeting.txt", text.toUtf8());
  const QString qt = "--window-title|Writing|--select|--label|Greeting|--text|" + text + "|--kind|";
  const struct {
    QString program, arguments;
    const char *role, *traits;  // traits: p hides a password, w can be written, s is selected
  } cases[] = {
      {"zenity", "--entry|--title=Writing|--text=Greeting|--entry-text=" + text, "AXTextField", "ws"},
      {"zenity", "--password|--title=Writing", "AXTextField", "pw"},
      {"zenity", "--text-info|--editable|--title=Writing|--filename=" + greeting, "AXTextArea", "w"},
      {textTarget(), qt + "line", "AXTextField", "ws"},
      {textTarget(), qt + "edit", "AXTextArea", "ws"},
      {textTarget(), qt + "plain", "AXTextArea", "ws"},
      {textTarget(), qt + "password", "AXTextField", "pws"},
      {textTarget(), qt + "readonly", "AXStaticText", "s"},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE((each.program + " " + each.arguments).toStdString());
    const auto is = [&](char trait) { return QByteArray(each.traits).contains(trait); };
    DesktopProgram program(each.program, each.arguments.split('|'));
    frontmostProcessId = program.processId();
    const auto seen = waitForFocus([&](const SeenElement& element) {
      return element.exists && element.windowTitle == "Writing" && (is('p') || element.value == text);
    });
    EXPECT_EQ(seen.role, each.role);
    EXPECT_EQ(seen.subrole.value_or(""), is('p') ? "AXSecureTextField" : "");
    EXPECT_TRUE(!is('p') || !seen.value);
    EXPECT_EQ(seen.selectedText.value_or(""), is('s') && !is('p') ? text : QString());
    EXPECT_EQ(seen.isValueSettable, is('w'));
    if (is('w') && !is('p')) {
      ASSERT_TRUE(seen.caret);
      EXPECT_TRUE(QRect(0, 0, 1600, 1000).contains(*seen.caret));
    }
    EXPECT_EQ(seen.enabled, "true");
    if (is('s')) {
      EXPECT_EQ(seen.title, "Greeting");
    }
  }
}

// It tells nothing of the focus its first field has from the beginning.
TEST_F(AtspiToolkitsTest, Gtk4Editor) {
  qputenv("GSK_RENDERER", "cairo");
  DesktopProgram editor("gnome-text-editor", {"--standalone", file("letter.txt", letter)});
  const auto isLetter = [](const SeenElement& seen) {
    return seen.role == "AXTextArea" && seen.value && seen.value->trimmed() == QLatin1String(letter);
  };
  const auto seen = waitForFocus(isLetter);
  EXPECT_TRUE(seen.windowTitle.value_or(QString()).startsWith("letter.txt"));
  EXPECT_EQ(seen.subrole, std::nullopt);
  EXPECT_TRUE(seen.isValueSettable);
  frontmostProcessId = editor.processId();
  EXPECT_TRUE(isLetter(seeFocus()));
  // Within the time a dictation has for looking.
  accessibility = make();
  accessibility->start();
  EXPECT_TRUE(becomes([&] { return accessibility->isTrusted(); }));
  EXPECT_TRUE(becomes([&] {
    const auto isFound = std::make_shared<bool>(false);
    visit(
        [isFound](AccessibilityTree& tree) {
          *isFound = tree.element(tree.systemWideElement(), "AXFocusedUIElement") != nullptr;
        },
        std::chrono::milliseconds(250));
    return *isFound;
  }));

  const auto press = [](const QString& key) { QProcess::execute("xdotool", {"key", key}); };
  // What was found once is believed no longer when the keyboard has gone elsewhere: the search entry, another page.
  press("ctrl+f");
  EXPECT_TRUE(becomes([&] { return !isLetter(seeFocus()); }));
  press("Escape");
  waitForFocus(isLetter);
  press("ctrl+t");
  waitForFocus([](const SeenElement& each) { return each.role == "AXTextArea" && each.value == u""; });
  press("ctrl+w");
  waitForFocus(isLetter);
  DesktopProgram xterm("xterm", {"-title", "In front"});
  frontmostProcessId.reset();
  EXPECT_TRUE(becomes([&] { return !seeFocus().exists; }));
}

// Any field of GTK 4 may be told to show dots; its role stays that of a plain one.
TEST_F(AtspiToolkitsTest, Gtk4FieldsThatHideTheirText) {
  const QString program = file("fields.py",
                               "import sys, gi; gi.require_version('Gtk', '4.0'); from gi.repository import Gtk\n"
                               "kind, text, dot = sys.argv[1:4]\n"
                               "def fill(app):\n"
                               "    window = Gtk.ApplicationWindow(application=app, title=kind)\n"
                               "    field = Gtk.Entry() if kind != 'search' else Gtk.SearchEntry()\n"
                               "    if kind == 'hidden': field.set_visibility(False)\n"
                               "    if dot: field.set_invisible_char(dot)\n"
                               "    field.set_text(text)\n"
                               "    window.set_child(field); window.present()\n"
                               "app = Gtk.Application(); app.connect('activate', fill); app.run([])\n");
  const QString python = "/usr/bin/python3";  // Debian's own, which has the bindings
  qputenv("GSK_RENDERER", "cairo");
  struct Case {
    const char* kind;
    const char* text;
    const char* dot;
    bool isSecure;
  };
  for (const Case& each :
       {Case{"hidden", "hunter2", "", true}, Case{"hidden", "hunter2", "*", true}, Case{"plain", "hunter2", "", false},
        Case{"plain", "**", "*", false}, Case{"search", "needle", "", false}}) {
    SCOPED_TRACE(each.kind);
    DesktopProgram fields(python, {program, each.kind, each.text, each.dot});
    frontmostProcessId = fields.processId();
    const auto seen = waitForWindow(each.kind);
    EXPECT_EQ(seen.role, "AXTextField");
    EXPECT_EQ(seen.subrole, each.isSecure ? std::optional("AXSecureTextField") : std::nullopt);
    EXPECT_EQ(seen.value, each.isSecure ? std::nullopt : std::optional(QString::fromLatin1(each.text)));
    EXPECT_TRUE(!each.isSecure || !seen.selectedText);
  }
}

TEST_F(AtspiToolkitsTest, TheMenuOfAProgramIsReadAndPressed) {
  DesktopProgram target(textTarget(), {"--window-title", "Menus", "--menu", "--text", "word"});
  waitForWindow("Menus");
  auto found = std::make_shared<QStringList>();
  const auto pressed = std::make_shared<bool>(false);
  const qint64 processId = target.processId();
  visit([found, pressed, processId](AccessibilityTree& tree) {
    const auto bar = tree.element(tree.applicationElement(processId), "AXMenuBar");
    AccessibilityElementPtr quit;
    for (const auto& top : tree.elements(bar, "AXChildren", 50)) {
      const QString title = tree.text(top, "AXTitle").value_or(QString());
      std::vector<AccessibilityElementPtr> items = tree.elements(top, "AXChildren", 50);
      if (items.size() == 1 && tree.text(items.front(), "AXRole") == "AXMenu")
        items = tree.elements(items.front(), "AXChildren", 50);
      for (const auto& item : items) {
        const QString name = tree.text(item, "AXTitle").value_or(QString());
        found->append(title + QLatin1Char('/') + name + QLatin1Char('/') +
                      tree.text(item, "AXMenuItemCmdChar").value_or(QString()) + QLatin1Char('/') +
                      tree.text(item, "AXEnabled").value_or(QString()));
        if (name == "Quit") quit = item;
      }
    }
    *pressed = tree.performAction(quit, "AXPress");
  });
  // This toolkit tells no shortcuts.
  EXPECT_EQ(*found, QStringList({"File/Quit//true", "Edit/Cut//true", "Edit/Copy//true"}));
  EXPECT_TRUE(*pressed);
  EXPECT_TRUE(becomes([&] { return !target.isRunning(); }));
}

TEST_F(AtspiToolkitsTest, ChromiumPage) {
  const QString page =
      file("page.html",
           "<!doctype html><meta charset=utf-8><title>Fields</title><h1>Heading</h1><p id=p>Plain paragraph.</p>"
           "<input id=line aria-label='Name' placeholder='Who?' value='Ada'>"
           "<textarea id=area aria-label='Story'>Once upon a time</textarea>"
           "<input id=secret aria-label='Secret' type=password value='hidden'>"
           "<input id=search aria-label='Search' type=search value='needle'>"
           "<div id=rich contenteditable aria-label='Rich'><p>first</p><p>second</p></div>"
           "<script>const order=['line','area','secret','search','rich'];let i=-1;"
           "const next=()=>{i=(i+1)%order.length;const e=document.getElementById(order[i]);e.focus();"
           "if(e.select)e.select();document.title='Fields '+order[i]};"
           "onload=()=>{next();setInterval(next,4000)}</script>");
  DesktopProgram chromium("chromium", {"--no-sandbox", "--disable-gpu", "--no-first-run", "--no-default-browser-check",
                                       "--force-renderer-accessibility", "--password-store=basic",
                                       "--user-data-dir=" + folder.filePath("profile"), "file://" + page});
  const struct {
    const char *label, *role, *subrole, *value, *placeholder;
  } fields[] = {{"Name", "AXTextField", "", "Ada", "Who?"},
                {"Story", "AXTextArea", "", "Once upon a time", ""},
                {"Secret", "AXTextField", "AXSecureTextField", "", ""},
                {"Search", "AXSearchField", "", "needle", ""},
                {"Rich", "AXGroup", "", "first\nsecond", ""}};
  for (const auto& [label, role, subrole, value, placeholder] : fields) {
    SCOPED_TRACE(label);
    const auto seen =
        waitForFocus([&](const SeenElement& each) { return each.title == QLatin1String(label) && each.role; });
    EXPECT_EQ(seen.role, role);
    EXPECT_EQ(seen.subrole.value_or(""), subrole);
    EXPECT_EQ(seen.value.value_or(""), value);
    EXPECT_EQ(seen.placeholder.value_or(""), placeholder);
    EXPECT_TRUE(seen.isValueSettable);
    EXPECT_TRUE(*value || !seen.selectedText);
  }

  const auto address = std::make_shared<std::optional<QString>>();
  visit([address](AccessibilityTree& tree) {
    std::vector level{tree.element(tree.systemWideElement(), "AXFocusedWindow")};
    for (int depth = 0; depth < 20 && !level.empty() && !*address; ++depth) {
      std::vector<AccessibilityElementPtr> next;
      for (const auto& each : level) {
        if (tree.text(each, "AXRole") == "AXWebArea") *address = tree.text(each, "AXURL");
        const auto children = tree.elements(each, "AXChildren", 100);
        next.insert(next.end(), children.begin(), children.end());
      }
      level = next;
    }
  });
  EXPECT_EQ(*address, "file://" + page);
}

}  // namespace
}  // namespace quillmere
