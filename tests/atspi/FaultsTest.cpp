#include "atspi/AtspiFixture.h"

namespace quillmere {
namespace {

using Faults = AtspiFixture;

TEST_F(Faults, AProgramThatHangsDoesNotDisturbTheOthers) {
  DesktopProgram hanging(textTarget(), {"--window-title", "Hanging", "--text", "asleep"});
  frontmostProcessId = hanging.processId();
  waitForWindow("Hanging");
  hanging.signal(SIGSTOP);

  const auto values = std::make_shared<QStringList>();
  const auto readFocus = [values](AccessibilityTree& tree) {
    const auto focus = tree.element(tree.systemWideElement(), "AXFocusedUIElement");
    values->append(tree.text(focus, "AXValue").value_or("none"));
  };
  for (int i = 0; i < 3; ++i) visit(readFocus, std::chrono::milliseconds(400));
  EXPECT_FALSE(values->contains("asleep"));

  {
    DesktopProgram awake(textTarget(), {"--window-title", "Awake", "--text", "here"});
    frontmostProcessId = awake.processId();
    EXPECT_EQ(waitForWindow("Awake").value, "here");
    // Also when nobody says which process is frontmost, and all programs have to be asked.
    frontmostProcessId.reset();
    EXPECT_EQ(waitForWindow("Awake").value, "here");
  }
  hanging.signal(SIGCONT);
  frontmostProcessId = hanging.processId();
  EXPECT_EQ(waitForWindow("Hanging").value, "asleep");
}

TEST_F(Faults, TheFocusOfAProgramBehindIsNotReturned) {
  DesktopProgram behind(textTarget(), {"--window-title", "Behind"});
  waitForWindow("Behind");
  // A terminal that the accessibility bus doesn't know.
  DesktopProgram xterm("xterm", {"-title", "In front"});
  EXPECT_TRUE(becomes([&] { return !seeFocus().exists; }));
  frontmostProcessId = xterm.processId();
  EXPECT_FALSE(seeFocus().exists);
}

TEST_F(Faults, AFocusedElementThatDiesGivesNothing) {
  auto dying = std::make_unique<DesktopProgram>(textTarget(), QStringList{"--window-title", "Dying", "--text", "x"});
  waitForWindow("Dying");
  const auto value = std::make_shared<std::optional<QString>>();
  auto* const program = dying.get();
  visit([value, program](AccessibilityTree& tree) {
    const auto focus = tree.element(tree.systemWideElement(), "AXFocusedUIElement");
    EXPECT_TRUE(focus != nullptr);
    program->signal(SIGKILL);
    while (tree.text(focus, "AXRole").has_value() && tree.text(focus, "AXTitle") && !tree.isOutOfTime()) {
    }
    *value = tree.text(focus, "AXValue");
  });
  EXPECT_EQ(*value, std::nullopt);
  dying.reset();
  EXPECT_TRUE(becomes([&] { return !seeFocus().exists; }));
}

TEST_F(Faults, WithoutABusNothingIsTrustedUntilItComes) {
  const QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
  qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
  accessibility_ = make();
  accessibility_->start();
  bool wasCalled = false;
  EXPECT_FALSE(visit([&](AccessibilityTree&) { wasCalled = true; }, std::chrono::milliseconds(400)));
  EXPECT_FALSE(wasCalled);
  EXPECT_FALSE(accessibility_->isTrusted());
  qputenv("DBUS_SESSION_BUS_ADDRESS", address);
  EXPECT_TRUE(becomes([&] { return accessibility_->isTrusted(); }));
  EXPECT_TRUE(visit([&](AccessibilityTree&) { wasCalled = true; }));
  EXPECT_TRUE(wasCalled);
}

TEST_F(Faults, ACancelReturnsAtOnceAndTheWorkIsLeftOut) {
  // The thread is busy with another visit meanwhile.
  std::atomic<bool> isBusy = true;
  TaskScope scope(executor_);
  auto first = scope.spawn(accessibility_->visit(
      [&](AccessibilityTree&) {
        while (isBusy) {
        }
      },
      std::chrono::seconds(60)));
  bool wasCalled = false;
  auto second =
      scope.spawn(accessibility_->visit([&](AccessibilityTree&) { wasCalled = true; }, std::chrono::seconds(60)));
  executor_.startTimer(std::chrono::milliseconds(50), [&] { second.cancel(); });
  EXPECT_TRUE(becomes([&] { return second.isDone(); }));
  isBusy = false;
  EXPECT_TRUE(becomes([&] { return first.isDone(); }));
  EXPECT_TRUE(visit([](AccessibilityTree&) {}));
  EXPECT_FALSE(wasCalled);
}

}  // namespace
}  // namespace quillmere
