#include <QTemporaryDir>

#include "WindowManager.h"
#include "delivery/AccessibilityHelper.h"
#include "platform/linux/ApplicationIdentity.h"
#include "platform/qt/QtExecutor.h"
#include "platform/x11/X11KeySynthesizer.h"
#include "platform/x11/X11Pasteboard.h"
#include "platform/x11/X11Workspace.h"
#include "storage/SettingsManager.h"
#include "support/FakeAccessibility.h"
#include "support/FakeDefaultsStore.h"
#include "support/RecordingLogSink.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

// A text travels through the real clipboard and real keys into windows of other programs.
class DeliveryOnX11Test : public X11Desk {
 protected:
  void SetUp() override {
    X11Desk::SetUp();
    if (!server) return;
    for (const char* program : {"openbox", "xterm", "zenity"})
      if (QStandardPaths::findExecutable(program).isEmpty()) GTEST_SKIP() << program << " is not installed";
    windowManager = std::make_unique<WindowManager>(server->displayName());
    ASSERT_TRUE(windowManager->isReady());
    pasteboard = *X11Pasteboard::open(executor, server->displayName());
    otherPasteboard = *X11Pasteboard::open(executor, server->displayName());
    synthesizer = *X11KeySynthesizer::open(server->displayName());
    workspace = *X11Workspace::open(&applicationIdentity::bundleIdOfWindow, QCoreApplication::applicationPid(), {},
                                    server->displayName());
    settings.setClipboardRestoreDelaySeconds(0.2);
    const AccessibilityHelperServices services{*pasteboard,   *synthesizer, *workspace,
                                               accessibility, &settings,    executor};
    helper = std::make_unique<AccessibilityHelper>(services, AccessibilityHelperHooks{}, Logging(lines));
    accessibility.focus(node(QStringLiteral("AXTextField")));
  }
  void TearDown() override {
    for (auto process = processes.rbegin(); process != processes.rend(); ++process) {
      (*process)->kill();
      (*process)->waitForFinished();
    }
  }

  QProcess& start(const QString& program, const QStringList& arguments) {
    processes.push_back(std::make_unique<QProcess>());
    QProcess& process = *processes.back();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DISPLAY", server->displayName());
    environment.insert("LC_ALL", "C.UTF-8");
    environment.insert("NO_AT_BRIDGE", "1");
    environment.insert("GDK_BACKEND", "x11");
    environment.insert("HOME", folder.path());
    process.setProcessEnvironment(environment);
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, arguments);
    EXPECT_TRUE(process.waitForStarted());
    return process;
  }
  bool waitForFront(const QProcess& process) {
    return waitUntil([&] {
      const auto front = workspace->frontmostApplication();
      return front && front->processId == process.processId();
    });
  }
  static ClipboardItems image() {
    ClipboardItemData item;
    item.types = {"image/png", "text/uri-list"};
    item.data = {{"image/png", QByteArray(700000, '\x7f')}, {"text/uri-list", "file:///tmp/a%20b\r\n"}};
    return {item};
  }
  // A whole dictation as far as the clipboard and the keyboard see it.
  SmartPasteResult::Kind dictate(const QString& text, const QProcess& target) {
    EXPECT_TRUE(otherPasteboard->write(image()));
    runTaskInLoop(executor, helper->beginRecordingSession());
    helper->endRecordingSession();
    return runTaskInLoop(executor, helper->smartPaste(text, {}, target.processId())).kind;
  }
  void expectClipboardIsBack() {
    runTaskInLoop(executor, helper->waitForRestore());
    EXPECT_EQ(runTaskInLoop(executor, otherPasteboard->items()), image());
  }

  QTemporaryDir folder;
  QtExecutor executor;
  std::shared_ptr<RecordingLogSink> lines = std::make_shared<RecordingLogSink>();
  FakeDefaultsStore defaults;
  SettingsManager settings{defaults, StandardFolders{}, Logging()};
  FakeAccessibility accessibility;
  std::unique_ptr<WindowManager> windowManager;
  std::vector<std::unique_ptr<QProcess>> processes;
  std::unique_ptr<X11Pasteboard> pasteboard, otherPasteboard;
  std::unique_ptr<X11KeySynthesizer> synthesizer;
  std::unique_ptr<X11Workspace> workspace;
  std::unique_ptr<AccessibilityHelper> helper;
};

TEST_F(DeliveryOnX11Test, ATextFieldGetsTheTextOnEveryLayout) {
  for (const QStringList& layout : std::vector<QStringList>{{"us"}, {"us", "-variant", "dvorak"}, {"ru"}}) {
    ASSERT_TRUE(setLayout(layout));
    const QString text = QStringLiteral("Grüße 会议 👋 ") + layout.last();
    QProcess& field = start("zenity", {"--entry", "--title", "Field"});
    ASSERT_TRUE(waitForFront(field));
    EXPECT_EQ(dictate(text, field), SmartPasteResult::Kind::success) << lines->lines().join('\n').toStdString();
    expectClipboardIsBack();
    keys->tap({XKB_KEY_Return});
    ASSERT_TRUE(waitUntil([&] { return field.state() == QProcess::NotRunning; }));
    EXPECT_EQ(QString::fromUtf8(field.readAllStandardOutput()).trimmed(), text);
  }
}

TEST_F(DeliveryOnX11Test, ATerminalGetsTheTextAndTheMarkedTextStays) {
  const QString file = folder.filePath("typed");
  QProcess& terminal = start("xterm", {"-e", "sh", "-c", "cat > " + file});
  ASSERT_TRUE(waitForFront(terminal));
  ASSERT_TRUE(waitUntil([&] { return QFile::exists(file); }));
  ASSERT_TRUE(otherPasteboard->writeSelection("marked"));
  ASSERT_EQ(dictate("a line\n", terminal), SmartPasteResult::Kind::success) << lines->lines().join('\n').toStdString();
  ASSERT_TRUE(waitUntil([&] {
    QFile typed(file);
    return typed.open(QIODevice::ReadOnly) && typed.readAll() == "a line\n";
  }));
  expectClipboardIsBack();
  EXPECT_EQ(runTaskInLoop(executor, otherPasteboard->selectionString()), "marked");
}

TEST_F(DeliveryOnX11Test, AProgramThatTakesNothingLeavesTheTextOnTheClipboard) {
  QProcess& picture = start("zenity", {"--info", "--text", "nothing to type"});
  ASSERT_TRUE(waitForFront(picture));
  EXPECT_EQ(dictate("words", picture), SmartPasteResult::Kind::notFetched);
  runTaskInLoop(executor, sleepFor(500ms));
  EXPECT_EQ(runTaskInLoop(executor, otherPasteboard->string()), "words");
}

}  // namespace
}  // namespace quillmere
