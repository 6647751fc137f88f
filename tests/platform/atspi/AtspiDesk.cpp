#include "platform/atspi/AtspiDesk.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <csignal>

namespace quillmere {
namespace {

SeenElement look(AccessibilityTree& tree, const AccessibilityElementPtr& element) {
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
  seen.caret = tree.caret(element);
  return seen;
}

}  // namespace

DesktopProgram::DesktopProgram(const QString& program, const QStringList& arguments) {
  process_.setProcessChannelMode(QProcess::MergedChannels);
  process_.start(program, arguments);
  EXPECT_TRUE(process_.waitForStarted(30000)) << qPrintable(program);
}

DesktopProgram::~DesktopProgram() {
  if (!isRunning()) return;
  signal(SIGCONT);
  process_.terminate();
  if (process_.waitForFinished(5000)) return;
  process_.kill();
  process_.waitForFinished(5000);
}

void DesktopProgram::signal(int number) {
  // Number 0 would mean the tests themselves.
  if (const auto id = pid_t(process_.processId()); id > 0) ::kill(id, number);
}

AtspiDesk::AtspiDesk() {
  if (qEnvironmentVariableIsEmpty("DISPLAY") || qEnvironmentVariableIsEmpty("DESKTOP_FOLDER"))
    throw std::runtime_error("needs the private desktop of tests/e2e/headless-desktop.sh");
  accessibility->start();
}

std::unique_ptr<AtspiAccessibility> AtspiDesk::make() {
  AtspiAccessibility::Options options;
  options.frontmostProcessId = [this] { return frontmostProcessId; };
  return std::make_unique<AtspiAccessibility>(executor, options, Logging());
}

bool AtspiDesk::visit(std::function<void(AccessibilityTree&)> work, Duration limit) {
  return run(accessibility->visit(std::move(work), limit));
}

SeenElement AtspiDesk::seeFocus() {
  auto seen = std::make_shared<SeenElement>();
  visit([seen](AccessibilityTree& tree) {
    const auto systemWide = tree.systemWideElement();
    *seen = look(tree, tree.element(systemWide, "AXFocusedUIElement"));
    const auto window = tree.element(systemWide, "AXFocusedWindow");
    if (window) seen->windowTitle = tree.text(window, "AXTitle");
  });
  return *seen;
}

bool AtspiDesk::becomes(const std::function<bool()>& condition) {
  QElapsedTimer time;
  time.start();
  while (time.elapsed() < 60000) {
    if (condition()) return true;
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    run(sleepFor(std::chrono::milliseconds(30)));
  }
  return false;
}

SeenElement AtspiDesk::waitForFocus(const std::function<bool(const SeenElement&)>& fits) {
  SeenElement seen;
  EXPECT_TRUE(becomes([&] { return fits(seen = seeFocus()); }))
      << "last seen: role " << qPrintable(seen.role.value_or("-")) << ", value " << qPrintable(seen.value.value_or("-"))
      << ", window " << qPrintable(seen.windowTitle.value_or("-"));
  return seen;
}

SeenElement AtspiDesk::waitForWindow(const QString& title) {
  return waitForFocus([&](const SeenElement& seen) { return seen.exists && seen.windowTitle == title; });
}

QString AtspiDesk::textTarget() {
  return qEnvironmentVariable("QUILLMERE_BUILD_DIR") + "/tests/targets/text_target";
}

}  // namespace quillmere
