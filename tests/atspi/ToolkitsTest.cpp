#include <QFile>
#include <QTemporaryDir>

#include "atspi/AtspiFixture.h"

namespace quillmere {
namespace {

using Toolkits = AtspiFixture;

TEST_F(Toolkits, GtkEntry) {
  DesktopProgram zenity(QStringLiteral("zenity"),
                        {QStringLiteral("--entry"), QStringLiteral("--title=Asking"),
                         QStringLiteral("--text=Your name"), QString::fromUtf8("--entry-text=Grüße 漢字")});
  const auto seen = waitForWindow(QStringLiteral("Asking"));
  EXPECT_EQ(seen.role, QStringLiteral("AXTextField"));
  EXPECT_EQ(seen.subrole, std::nullopt);
  EXPECT_EQ(seen.value, QString::fromUtf8("Grüße 漢字"));
  EXPECT_EQ(seen.selectedText, QString::fromUtf8("Grüße 漢字"));
  EXPECT_EQ(seen.title, QStringLiteral("Your name"));
  EXPECT_EQ(seen.enabled, QStringLiteral("true"));
  EXPECT_TRUE(seen.isValueSettable);
}

TEST_F(Toolkits, GtkPassword) {
  DesktopProgram zenity(QStringLiteral("zenity"), {QStringLiteral("--password"), QStringLiteral("--title=Secret")});
  const auto seen = waitForWindow(QStringLiteral("Secret"));
  EXPECT_EQ(seen.role, QStringLiteral("AXTextField"));
  EXPECT_EQ(seen.subrole, QStringLiteral("AXSecureTextField"));
  EXPECT_EQ(seen.value, std::nullopt);
  EXPECT_EQ(seen.selectedText, std::nullopt);
}

TEST_F(Toolkits, GtkTextView) {
  QTemporaryDir folder;
  QFile file(folder.filePath(QStringLiteral("letter.txt")));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write("Dear reader,\nthis is the second line.");
  file.close();
  DesktopProgram zenity(QStringLiteral("zenity"),
                        {QStringLiteral("--text-info"), QStringLiteral("--editable"), QStringLiteral("--title=Writing"),
                         QStringLiteral("--filename=") + file.fileName()});
  const auto seen = waitForFocus([](const SeenElement& each) {
    return each.windowTitle == QStringLiteral("Writing") && each.value && each.value->contains(QLatin1String("second"));
  });
  EXPECT_EQ(seen.role, QStringLiteral("AXTextArea"));
  EXPECT_EQ(seen.value, QStringLiteral("Dear reader,\nthis is the second line."));
  EXPECT_EQ(seen.selectedText, std::nullopt);
  EXPECT_TRUE(seen.isValueSettable);
}

// It tells nothing of the focus its first field has from the beginning.
TEST_F(Toolkits, Gtk4Editor) {
  if (!isInstalled("gnome-text-editor")) GTEST_SKIP() << "gnome-text-editor is not installed";
  qputenv("GSK_RENDERER", "cairo");
  QTemporaryDir folder;
  QFile file(folder.filePath(QStringLiteral("letter.txt")));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write("Dear reader,\nthis is the second line.");
  file.close();
  DesktopProgram editor(QStringLiteral("gnome-text-editor"), {QStringLiteral("--standalone"), file.fileName()});
  const auto isLetter = [](const SeenElement& seen) {
    return seen.role == QStringLiteral("AXTextArea") && seen.value &&
           seen.value->trimmed() == QLatin1String("Dear reader,\nthis is the second line.");
  };
  const auto seen = waitForFocus(isLetter);
  EXPECT_TRUE(seen.windowTitle.value_or(QString()).startsWith(QLatin1String("letter.txt")));
  EXPECT_EQ(seen.subrole, std::nullopt);
  EXPECT_TRUE(seen.isValueSettable);
  frontmostProcessId = editor.processId();
  EXPECT_TRUE(isLetter(seeFocus()));
  // Within the time a dictation has for looking.
  accessibility_ = make();
  accessibility_->start();
  EXPECT_TRUE(becomes([&] { return accessibility_->isTrusted(); }));
  EXPECT_TRUE(becomes([&] {
    const auto isFound = std::make_shared<bool>(false);
    visit(
        [isFound](AccessibilityTree& tree) {
          *isFound = tree.element(tree.systemWideElement(), QStringLiteral("AXFocusedUIElement")) != nullptr;
        },
        std::chrono::milliseconds(250));
    return *isFound;
  }));

  const auto press = [](const QString& key) {
    QProcess::execute(QStringLiteral("xdotool"), {QStringLiteral("key"), key});
  };
  // What was found once is believed no longer when the keyboard has gone elsewhere: the search entry, another page.
  press(QStringLiteral("ctrl+f"));
  EXPECT_TRUE(becomes([&] { return !isLetter(seeFocus()); }));
  press(QStringLiteral("Escape"));
  waitForFocus(isLetter);
  press(QStringLiteral("ctrl+t"));
  waitForFocus([](const SeenElement& each) { return each.role == QStringLiteral("AXTextArea") && each.value == u""; });
  press(QStringLiteral("ctrl+w"));
  waitForFocus(isLetter);
  DesktopProgram xterm(QStringLiteral("xterm"), {QStringLiteral("-title"), QStringLiteral("In front")});
  frontmostProcessId.reset();
  EXPECT_TRUE(becomes([&] { return !seeFocus().exists; }));
}

TEST_F(Toolkits, QtFields) {
  struct Case {
    const char* kind;
    const char* role;
    const char* subrole;
    bool hasValue;
    bool isSettable;
  };
  const Case cases[] = {
      {"line", "AXTextField", "", true, true},       {"edit", "AXTextArea", "", true, true},
      {"plain", "AXTextArea", "", true, true},       {"password", "AXTextField", "AXSecureTextField", false, true},
      {"readonly", "AXStaticText", "", true, false},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.kind);
    const QString kind = QString::fromLatin1(each.kind);
    const QString title = QStringLiteral("Target ") + kind;
    DesktopProgram target(textTarget(),
                          {QStringLiteral("--kind"), kind, QStringLiteral("--window-title"), title,
                           QStringLiteral("--text"), QString::fromUtf8("Schöne Grüße"), QStringLiteral("--select"),
                           QStringLiteral("--label"), QStringLiteral("Greeting")});
    frontmostProcessId = target.processId();
    const auto seen = waitForWindow(title);
    EXPECT_EQ(seen.role, QLatin1String(each.role));
    EXPECT_EQ(seen.subrole.value_or(QString()), QLatin1String(each.subrole));
    const auto text = each.hasValue ? std::optional(QString::fromUtf8("Schöne Grüße")) : std::nullopt;
    EXPECT_EQ(seen.value, text);
    EXPECT_EQ(seen.selectedText, text);
    EXPECT_EQ(seen.title, QStringLiteral("Greeting"));
    EXPECT_EQ(seen.isValueSettable, each.isSettable);
  }
}

TEST_F(Toolkits, TheMenuOfAProgramIsReadAndPressed) {
  DesktopProgram target(textTarget(), {QStringLiteral("--window-title"), QStringLiteral("Menus"),
                                       QStringLiteral("--menu"), QStringLiteral("--text"), QStringLiteral("word")});
  waitForWindow(QStringLiteral("Menus"));
  auto found = std::make_shared<QStringList>();
  const auto pressed = std::make_shared<bool>(false);
  const qint64 processId = target.processId();
  visit([found, pressed, processId](AccessibilityTree& tree) {
    const auto bar = tree.element(tree.applicationElement(processId), QStringLiteral("AXMenuBar"));
    AccessibilityElementPtr quit;
    for (const auto& top : tree.elements(bar, QStringLiteral("AXChildren"), 50)) {
      const QString title = tree.text(top, QStringLiteral("AXTitle")).value_or(QString());
      std::vector<AccessibilityElementPtr> items = tree.elements(top, QStringLiteral("AXChildren"), 50);
      if (items.size() == 1 && tree.text(items.front(), QStringLiteral("AXRole")) == QStringLiteral("AXMenu"))
        items = tree.elements(items.front(), QStringLiteral("AXChildren"), 50);
      for (const auto& item : items) {
        const QString name = tree.text(item, QStringLiteral("AXTitle")).value_or(QString());
        found->append(title + QLatin1Char('/') + name + QLatin1Char('/') +
                      tree.text(item, QStringLiteral("AXMenuItemCmdChar")).value_or(QString()) + QLatin1Char('/') +
                      tree.text(item, QStringLiteral("AXEnabled")).value_or(QString()));
        if (name == QLatin1String("Quit")) quit = item;
      }
    }
    *pressed = tree.performAction(quit, QStringLiteral("AXPress"));
  });
  // This toolkit tells no shortcuts.
  EXPECT_EQ(*found, QStringList({QStringLiteral("File/Quit//true"), QStringLiteral("Edit/Cut//true"),
                                 QStringLiteral("Edit/Copy//true")}));
  EXPECT_TRUE(*pressed);
  EXPECT_TRUE(becomes([&] { return !target.isRunning(); }));
}

TEST_F(Toolkits, ChromiumPage) {
  if (!isInstalled("chromium")) GTEST_SKIP() << "chromium is not installed";
  QTemporaryDir folder;
  QFile file(folder.filePath(QStringLiteral("page.html")));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write(
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
  file.close();
  DesktopProgram chromium(QStringLiteral("chromium"),
                          {QStringLiteral("--no-sandbox"), QStringLiteral("--disable-gpu"),
                           QStringLiteral("--no-first-run"), QStringLiteral("--no-default-browser-check"),
                           QStringLiteral("--force-renderer-accessibility"), QStringLiteral("--password-store=basic"),
                           QStringLiteral("--user-data-dir=") + folder.filePath(QStringLiteral("profile")),
                           QStringLiteral("file://") + file.fileName()});
  const auto field = [this](const QString& label) {
    return waitForFocus([&](const SeenElement& seen) { return seen.title == label && seen.role; });
  };
  const auto line = field(QStringLiteral("Name"));
  EXPECT_EQ(line.role, QStringLiteral("AXTextField"));
  EXPECT_EQ(line.value, QStringLiteral("Ada"));
  EXPECT_EQ(line.selectedText, QStringLiteral("Ada"));
  EXPECT_EQ(line.placeholder, QStringLiteral("Who?"));
  EXPECT_TRUE(line.isValueSettable);
  const auto area = field(QStringLiteral("Story"));
  EXPECT_EQ(area.role, QStringLiteral("AXTextArea"));
  EXPECT_EQ(area.value, QStringLiteral("Once upon a time"));
  const auto secret = field(QStringLiteral("Secret"));
  EXPECT_EQ(secret.subrole, QStringLiteral("AXSecureTextField"));
  EXPECT_EQ(secret.value, std::nullopt);
  EXPECT_EQ(secret.selectedText, std::nullopt);
  const auto search = field(QStringLiteral("Search"));
  EXPECT_EQ(search.role, QStringLiteral("AXSearchField"));
  const auto rich = field(QStringLiteral("Rich"));
  EXPECT_EQ(rich.value, QStringLiteral("first\nsecond"));
  EXPECT_TRUE(rich.isValueSettable);

  struct Page {
    std::optional<QString> title, url;
  };
  const auto page = std::make_shared<Page>();
  visit([page](AccessibilityTree& tree) {
    const auto window = tree.element(tree.systemWideElement(), QStringLiteral("AXFocusedWindow"));
    std::vector<AccessibilityElementPtr> level{window};
    for (int depth = 0; depth < 20 && !level.empty() && !page->url; ++depth) {
      std::vector<AccessibilityElementPtr> next;
      for (const auto& each : level) {
        if (tree.text(each, QStringLiteral("AXRole")) == QStringLiteral("AXWebArea")) {
          page->title = tree.text(each, QStringLiteral("AXTitle"));
          page->url = tree.text(each, QStringLiteral("AXURL"));
        }
        const auto children = tree.elements(each, QStringLiteral("AXChildren"), 100);
        next.insert(next.end(), children.begin(), children.end());
      }
      level = next;
    }
  });
  EXPECT_EQ(page->url, QStringLiteral("file://") + file.fileName());
  EXPECT_TRUE(page->title.value_or(QString()).startsWith(QLatin1String("Fields ")));
}

}  // namespace
}  // namespace quillmere
