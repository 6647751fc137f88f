#include "platform/x11/WorkspaceDesk.h"

namespace quillmere {
namespace {

class X11WorkspaceTest : public testing::Test, protected WorkspaceDesk {
 protected:
  bool isInFront(qint64 processId) {
    const auto front = workspace->frontmostApplication();
    return front && front->processId == processId;
  }
  bool isWindowInFront(xcb_window_t window) {
    const auto front = workspace->frontmostApplication();
    return front && front->windowId == window;
  }
};

TEST_F(X11WorkspaceTest, ProgramsAreKnownByTheClassOfTheirWindows) {
  EXPECT_EQ(workspace->frontmostApplication(), std::nullopt) << "an empty desktop";
  const qint64 terminal = startTerminal("first");
  ASSERT_TRUE(waitUntil([&] { return isInFront(terminal); }));
  const auto front = *workspace->frontmostApplication();
  EXPECT_EQ(front.bundleId, "xterm");
  EXPECT_EQ(front.localizedName, "XTerm");
  for (const qint64 nobody : {0, 1}) EXPECT_FALSE(workspace->forceTerminate(nobody));
  EXPECT_FALSE(workspace->forceTerminate(QCoreApplication::applicationPid()));
}

TEST_F(X11WorkspaceTest, WindowsAreToldApartWhateverTheirProgramTells) {
  const qint64 below = startTerminal("below");
  ASSERT_TRUE(waitUntil([&] { return isInFront(below); }));
  const xcb_window_t first = tool.show("größer");
  ASSERT_TRUE(waitUntil([&] { return isWindowInFront(first); }));
  const RunningApplication press = *workspace->frontmostApplication();
  EXPECT_EQ(press.windowTitle, "größer");
  // What a program in a sandbox tells is its number there; another one tells none.
  const xcb_window_t second = tool.show("zwei 会议", 2);
  ASSERT_TRUE(waitUntil([&] { return isWindowInFront(second); }));
  for (const xcb_window_t each : {first, second}) {
    RunningApplication window = press;
    window.windowId = each;
    EXPECT_EQ(workspace->find(window)->processId, QCoreApplication::applicationPid());
  }
  tool.close(first);
  EXPECT_TRUE(waitUntil([&] { return !workspace->find(press); }));
  tool.show(first, "another", "with the number of the closed one");
  ASSERT_TRUE(waitUntil([&] { return isWindowInFront(first); }));
  EXPECT_FALSE(workspace->find(press));
}

TEST_F(X11WorkspaceTest, AWindowOfAnotherDesktopStaysThere) {
  const qint64 terminal = startTerminal("below");
  ASSERT_TRUE(waitUntil([&] { return isInFront(terminal); }));
  const RunningApplication below = *workspace->frontmostApplication();
  const xcb_window_t window = tool.show("above");
  ASSERT_TRUE(waitUntil([&] { return isWindowInFront(window); }));
  const RunningApplication above = *workspace->frontmostApplication();
  tool.showDesktop(1);
  ASSERT_TRUE(waitUntil([&] { return !isWindowInFront(window); }));
  for (const RunningApplication& each : {above, below}) {
    ASSERT_TRUE(workspace->activate(each));
    EXPECT_TRUE(waitUntil([&] { return isWindowInFront(xcb_window_t(each.windowId)); }));
  }
}

TEST_F(X11WorkspaceTest, TypingIsToldAndNothingElseAboutTheKeyboard) {
  const qint64 below = startTerminal("below");
  ASSERT_TRUE(waitUntil([&] { return isInFront(below); }));
  const xcb_window_t window = tool.show("letter");
  ASSERT_TRUE(waitUntil([&] { return isWindowInFront(window); }));
  std::vector<quint64> typed;
  const Subscription typing =
      workspace->observeTyping([&](const RunningApplication& one) { typed.push_back(one.windowId); });
  keys.tap({XKB_KEY_F9});
  keys.tap({XKB_KEY_Shift_L});
  keys.tap({XKB_KEY_Escape});
  keys.press(XKB_KEY_Control_L);
  keys.tap({XKB_KEY_d});
  pause(std::chrono::milliseconds(50));  // what is held is asked when the key is seen
  keys.release(XKB_KEY_Control_L);
  EXPECT_EQ(typed.size(), 0u);
  keys.tap({XKB_KEY_Shift_L, XKB_KEY_a});
  keys.tap({XKB_KEY_Return});
  EXPECT_TRUE(waitUntil([&] { return typed.size() == 2; }));
}

TEST_F(X11WorkspaceTest, AServerThatDiesLeavesAnEmptyDesktop) {
  const qint64 terminal = startTerminal("one");
  ASSERT_TRUE(waitUntil([&] { return isInFront(terminal); }));
  server.kill();
  EXPECT_EQ(workspace->frontmostApplication(), std::nullopt);
  EXPECT_FALSE(workspace->activate({.processId = terminal}));
  EXPECT_FALSE(X11Workspace::open({}, 1, {}, ":4711"));
}

}  // namespace
}  // namespace quillmere
