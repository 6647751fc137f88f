#pragma once
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <csignal>

#include "base/async/Async.h"
#include "platform/atspi/AtspiAccessibility.h"
#include "platform/qt/QtExecutor.h"
#include "support/RecordingLogSink.h"
#include "support/RunTask.h"

namespace quillmere {

// What one visit sees of the element that has the keyboard.
struct SeenElement {
  bool exists = false;
  std::optional<QString> role, subrole, title, value, selectedText, placeholder, enabled;
  bool isValueSettable = false;
  std::optional<QString> windowTitle;
};

// A program that goes away with the test.
class DesktopProgram {
 public:
  DesktopProgram(const QString& program, const QStringList& arguments) {
    process_.setProcessChannelMode(QProcess::MergedChannels);
    process_.start(program, arguments);
    EXPECT_TRUE(process_.waitForStarted(30000)) << qPrintable(program);
  }
  DesktopProgram(const DesktopProgram&) = delete;
  DesktopProgram& operator=(const DesktopProgram&) = delete;
  ~DesktopProgram() {
    if (process_.state() == QProcess::NotRunning) return;
    signal(SIGCONT);
    process_.terminate();
    if (process_.waitForFinished(5000)) return;
    process_.kill();
    process_.waitForFinished(5000);
  }
  qint64 processId() const { return process_.processId(); }
  bool isRunning() { return process_.state() != QProcess::NotRunning; }
  void signal(int number) {
    // Number 0 would mean the tests themselves.
    if (const auto id = pid_t(process_.processId()); id > 0) ::kill(id, number);
  }
  QByteArray output() { return process_.readAll(); }

 private:
  QProcess process_;
};

// A private desktop must be there: the launcher of the tests brings it up.
class AtspiFixture : public testing::Test {
 protected:
  void SetUp() override {
    if (qEnvironmentVariableIsEmpty("DISPLAY") || qEnvironmentVariableIsEmpty("DESKTOP_FOLDER"))
      GTEST_SKIP() << "needs the private desktop of tests/e2e/headless-desktop.sh";
    accessibility_ = make();
    accessibility_->start();
  }

  std::unique_ptr<AtspiAccessibility> make() {
    AtspiAccessibility::Options options;
    options.frontmostProcessId = [this] { return frontmostProcessId; };
    return std::make_unique<AtspiAccessibility>(executor_, options, Logging(log_));
  }

  bool visit(std::function<void(AccessibilityTree&)> work, Duration limit = std::chrono::seconds(5)) {
    return runTaskInLoop(executor_, accessibility_->visit(std::move(work), limit));
  }

  static SeenElement look(AccessibilityTree& tree, const AccessibilityElementPtr& element) {
    SeenElement seen;
    seen.exists = element != nullptr;
    if (!element) return seen;
    const auto text = [&](const char* name) { return tree.text(element, QString::fromLatin1(name)); };
    seen.role = text("AXRole");
    seen.subrole = text("AXSubrole");
    seen.title = text("AXTitle");
    seen.value = text("AXValue");
    seen.selectedText = text("AXSelectedText");
    seen.placeholder = text("AXPlaceholderValue");
    seen.enabled = text("AXEnabled");
    seen.isValueSettable = tree.isAttributeSettable(element, "AXValue");
    return seen;
  }

  SeenElement seeFocus() {
    auto seen = std::make_shared<SeenElement>();
    visit([seen](AccessibilityTree& tree) {
      const auto systemWide = tree.systemWideElement();
      *seen = look(tree, tree.element(systemWide, "AXFocusedUIElement"));
      const auto window = tree.element(systemWide, "AXFocusedWindow");
      if (window) seen->windowTitle = tree.text(window, "AXTitle");
    });
    return *seen;
  }

  // Programs take their time: looks again and again until it fits, a minute at most.
  bool becomes(const std::function<bool()>& condition) {
    QElapsedTimer time;
    time.start();
    while (time.elapsed() < 60000) {
      if (condition()) return true;
      QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
      runTaskInLoop(executor_, sleepFor(std::chrono::milliseconds(30)));
    }
    return false;
  }
  SeenElement waitForFocus(const std::function<bool(const SeenElement&)>& fits) {
    SeenElement seen;
    EXPECT_TRUE(becomes([&] { return fits(seen = seeFocus()); }))
        << "last seen: role " << qPrintable(seen.role.value_or("-")) << ", value "
        << qPrintable(seen.value.value_or("-")) << ", window " << qPrintable(seen.windowTitle.value_or("-"));
    return seen;
  }
  SeenElement waitForWindow(const QString& title) {
    return waitForFocus([&](const SeenElement& seen) { return seen.exists && seen.windowTitle == title; });
  }

  static QString textTarget() {
    return qEnvironmentVariable("QUILLMERE_BUILD_DIR", QCoreApplication::applicationDirPath() + QStringLiteral("/..")) +
           "/tests/targets/text_target";
  }
  static bool isInstalled(const char* program) {
    return !QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty();
  }

  QtExecutor executor_;
  std::shared_ptr<RecordingLogSink> log_ = std::make_shared<RecordingLogSink>();
  std::optional<qint64> frontmostProcessId;
  std::unique_ptr<AtspiAccessibility> accessibility_;
};

}  // namespace quillmere
