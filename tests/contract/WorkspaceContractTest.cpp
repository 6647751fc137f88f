#include "contract/Sides.h"
#include "platform/x11/WorkspaceDesk.h"
#include "support/FakeWorkspace.h"

namespace quillmere {
namespace {

RunningApplication processOf(const RunningApplication& window) {
  return {.processId = window.processId};
}

struct FakeSide {
  RunningApplication startProgram(const char* title) {
    const RunningApplication program{.processId = 1000 + ++windows, .windowTitle = title, .windowId = quint64(windows)};
    workspace->launch(program);
    workspace->setFrontmost(program);
    return program;
  }
  // Of this process.
  RunningApplication showWindow(const char* title) {
    workspace->setFrontmost(RunningApplication{
        .processId = 1, .windowTitle = title, .isThisApplication = true, .windowId = quint64(++windows)});
    return *workspace->frontmost;
  }
  void renameFront(const char* title) { workspace->frontmost->windowTitle = title; }
  void close(const RunningApplication& window) { workspace->close(window); }
  void type() { workspace->type(); }
  qint64 windows = 0;
  std::unique_ptr<FakeWorkspace> workspace = std::make_unique<FakeWorkspace>();
};

struct X11Side : WorkspaceDesk {
  RunningApplication startProgram(const char* title) { return {.processId = startTerminal(title)}; }
  RunningApplication showWindow(const char* title) {
    // The window manager gives a window of ours the keyboard only where another program had it.
    if (processes.empty()) {
      const qint64 below = startTerminal("below");
      waitUntil([&] {
        const auto front = workspace->frontmostApplication();
        return front && front->processId == below;
      });
    }
    return {.processId = QCoreApplication::applicationPid(), .windowId = tool.show(title)};
  }
  void renameFront(const char* title) {
    tool.setTitle(xcb_window_t(workspace->frontmostApplication()->windowId), title);
  }
  void close(const RunningApplication& window) { tool.close(xcb_window_t(window.windowId)); }
  void type() { keys.tap({XKB_KEY_a}); }
};

template <typename Side>
class WorkspaceContract : public testing::Test, public Side {
 protected:
  // Waits until it is, and tells what is known of it.
  RunningApplication inFront(const RunningApplication& window) {
    std::optional<RunningApplication> front;
    EXPECT_TRUE(waitUntil([&] {
      front = this->workspace->frontmostApplication();
      return front && isSameWindow(*front, window);
    }));
    return front.value_or(RunningApplication());
  }
};
using Sides = testing::Types<FakeSide, X11Side>;
TYPED_TEST_SUITE(WorkspaceContract, Sides, SideNames);

TYPED_TEST(WorkspaceContract, ProgramsComeTakeTheFrontAndGo) {
  auto& workspace = *this->workspace;
  EXPECT_EQ(workspace.frontmostApplication(), std::nullopt) << "an empty desktop";
  std::vector<qint64> launched, fronts;
  const Subscription launches =
      workspace.observeLaunches([&](const RunningApplication& one) { launched.push_back(one.processId); });
  const Subscription changes = workspace.observeFrontmost([&] {
    if (const auto front = workspace.frontmostApplication()) fronts.push_back(front->processId);
  });
  const auto first = this->inFront(this->startProgram("first"));
  const auto second = this->inFront(this->startProgram("second"));
  EXPECT_FALSE(second.isThisApplication);
  EXPECT_EQ(workspace.find(processOf(first))->windowTitle, "first");
  for (const RunningApplication& each : {processOf(first), second}) {
    ASSERT_TRUE(workspace.activate(each));
    this->inFront(each);
    EXPECT_TRUE(waitUntil([&] { return !fronts.empty() && fronts.back() == each.processId; }));
  }
  EXPECT_TRUE(waitUntil([&] { return launched.size() == 2; }));
  EXPECT_EQ(launched, (std::vector{first.processId, second.processId})) << "once each";

  EXPECT_TRUE(workspace.forceTerminate(second.processId));
  EXPECT_TRUE(waitUntil([&] { return !workspace.find(second); }));
  this->inFront(first);
  EXPECT_FALSE(workspace.activate(second));
  EXPECT_FALSE(workspace.forceTerminate(9'999'999)) << "more than the kernel gives";
  for (const qint64 nobody : {0, 9'999'999}) EXPECT_FALSE(workspace.find({.processId = nobody}));
}

TYPED_TEST(WorkspaceContract, WindowsOfOneProgramAreToldApartAndAClosedOneIsNobody) {
  auto& workspace = *this->workspace;
  const auto first = this->inFront(this->showWindow("first"));
  const auto second = this->inFront(this->showWindow("second"));
  EXPECT_TRUE(first.isThisApplication);
  EXPECT_FALSE(isSameWindow(first, second));
  EXPECT_EQ(workspace.find(first)->windowTitle, "first");
  this->renameFront("renamed");
  EXPECT_TRUE(waitUntil([&] { return workspace.find(second)->windowTitle == "renamed"; }));
  ASSERT_TRUE(workspace.activate(first));
  this->inFront(first);
  this->inFront(this->startProgram("above"));
  ASSERT_TRUE(workspace.activate(processOf(first))) << "without a window the one that was active last";
  this->inFront(first);
  this->close(first);
  EXPECT_TRUE(waitUntil([&] { return !workspace.find(first); }));
  EXPECT_FALSE(workspace.activate(first));
  EXPECT_TRUE(workspace.find(second));
}

TYPED_TEST(WorkspaceContract, TypingIsToldOfTheWindowInFront) {
  auto& workspace = *this->workspace;
  std::vector<quint64> typed;
  Subscription second;
  Subscription first = workspace.observeTyping([&](const RunningApplication& one) {
    typed.push_back(one.windowId);
    second.reset();
  });
  second = workspace.observeTyping([](const RunningApplication&) { ADD_FAILURE() << "was ended"; });
  for (const char* title : {"one", "two"}) {
    const auto window = this->inFront(this->showWindow(title));
    typed.clear();
    this->type();
    EXPECT_TRUE(waitUntil([&] { return !typed.empty(); }));
    EXPECT_EQ(typed, std::vector{window.windowId});
  }
  first.reset();
  bool isTold = false;
  const Subscription third = workspace.observeTyping([&](const RunningApplication&) { isTold = true; });
  this->type();
  EXPECT_TRUE(waitUntil([&] { return isTold; }));
  EXPECT_EQ(typed.size(), 1u);
}

}  // namespace
}  // namespace quillmere
