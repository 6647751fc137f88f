#pragma once
#include <vector>

#include "base/async/Async.h"
#include "support/FakeAccessibilityTree.h"

namespace quillmere {

// Runs visits at once, on the main thread, over `tree`. A visit that `hangs` waits for its limit and 100 ms more and
// gives false; its work is kept in `late`, where a test can run it as a program would that wakes up again.
class FakeAccessibility final : public Accessibility {
 public:
  bool trusted = true;
  bool hangs = false;
  FakeAccessibilityTree tree;
  std::vector<std::function<void(AccessibilityTree&)>> late;
  std::vector<Duration> limits;   // of every visit
  std::function<void()> onVisit;  // before the work

  bool isTrusted() const override { return trusted; }
  Task<bool> visit(std::function<void(AccessibilityTree&)> work, Duration limit) override {
    limits.push_back(limit);
    co_await throwIfCancelled();
    if (hangs) {
      late.push_back(std::move(work));
      co_await sleepFor(limit + std::chrono::milliseconds(100));
      co_return false;
    }
    if (onVisit) onVisit();
    tree.reads = 0;
    work(tree);
    co_return !tree.isOutOfTime();
  }

  // What has the keyboard, in the window of the process.
  void focus(const FakeAccessibilityNode::Ptr& element) {
    tree.systemWide->elements.insert("AXFocusedUIElement", element);
  }
  void addApplication(qint64 processId, const FakeAccessibilityNode::Ptr& window,
                      const FakeAccessibilityNode::Ptr& menuBar = nullptr) {
    auto application = node("AXApplication");
    if (window) application->pointing("AXFocusedWindow", window)->child(window, "AXWindows");
    if (menuBar) application->pointing("AXMenuBar", menuBar);
    tree.applications.insert(processId, application);
  }
};

}  // namespace quillmere
