#include <csignal>

#include "platform/atspi/AtspiDesk.h"

namespace quillmere {
namespace {

using AtspiFaultsTest = AtspiTest;

TEST_F(AtspiFaultsTest, AProgramThatHangsDoesNotDisturbTheOthers) {
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

TEST_F(AtspiFaultsTest, TheFocusOfAProgramBehindIsNotReturned) {
  DesktopProgram behind(textTarget(), {"--window-title", "Behind"});
  waitForWindow("Behind");
  // A terminal that the accessibility bus doesn't know.
  DesktopProgram xterm("xterm", {"-title", "In front"});
  EXPECT_TRUE(becomes([&] { return !seeFocus().exists; }));
  frontmostProcessId = xterm.processId();
  EXPECT_FALSE(seeFocus().exists);
}

TEST_F(AtspiFaultsTest, AFocusedElementThatDiesGivesNothing) {
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

TEST_F(AtspiFaultsTest, WithoutABusNothingIsTrustedUntilItComes) {
  const QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
  qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
  accessibility = make();
  accessibility->start();
  bool wasCalled = false;
  EXPECT_FALSE(visit([&](AccessibilityTree&) { wasCalled = true; }, std::chrono::milliseconds(400)));
  EXPECT_FALSE(wasCalled);
  EXPECT_FALSE(accessibility->isTrusted());
  qputenv("DBUS_SESSION_BUS_ADDRESS", address);
  EXPECT_TRUE(becomes([&] { return accessibility->isTrusted(); }));
  EXPECT_TRUE(visit([&](AccessibilityTree&) { wasCalled = true; }));
  EXPECT_TRUE(wasCalled);
}

}  // namespace
}  // namespace quillmere
