#pragma once
#include <gtest/gtest.h>

#include <QProcess>

#include "base/async/Async.h"
#include "platform/atspi/AtspiAccessibility.h"
#include "support/InLoop.h"

namespace quillmere {

// What one visit sees of the element that has the keyboard.
struct SeenElement {
  bool exists = false;
  std::optional<QString> role, subrole, title, value, selectedText, placeholder, enabled;
  bool isValueSettable = false;
  std::optional<QRect> caret;
  std::optional<QString> windowTitle;
};

// A program that goes away with the test.
class DesktopProgram {
 public:
  DesktopProgram(const QString& program, const QStringList& arguments);
  DesktopProgram(const DesktopProgram&) = delete;
  DesktopProgram& operator=(const DesktopProgram&) = delete;
  ~DesktopProgram();
  qint64 processId() const { return process_.processId(); }
  bool isRunning() { return process_.state() != QProcess::NotRunning; }
  void signal(int number);

 private:
  QProcess process_;
};

// The accessibility bus of the private desktop that the launcher of the tests brings up; throws where there is none.
struct AtspiDesk : InLoop {
  AtspiDesk();

  std::unique_ptr<AtspiAccessibility> make();
  bool visit(std::function<void(AccessibilityTree&)> work, Duration limit = std::chrono::seconds(5));
  SeenElement seeFocus();
  // Programs take their time: looks again and again until it fits, a minute at most.
  bool becomes(const std::function<bool()>& condition);
  SeenElement waitForFocus(const std::function<bool(const SeenElement&)>& fits);
  SeenElement waitForWindow(const QString& title);
  static QString textTarget();

  std::optional<qint64> frontmostProcessId;
  std::unique_ptr<AtspiAccessibility> accessibility = make();
};

class AtspiTest : public testing::Test, protected AtspiDesk {};

}  // namespace quillmere
