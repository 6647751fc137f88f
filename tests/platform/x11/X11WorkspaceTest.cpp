#include "platform/x11/X11Workspace.h"

#include <signal.h>
#include <QCoreApplication>

#include "platform/linux/ApplicationIdentity.h"
#include "platform/x11/WindowManager.h"

namespace quillmere {
namespace {

class X11WorkspaceTest : public X11DeskTest {
 protected:
  void TearDown() override {
    for (auto process = processes.rbegin(); process != processes.rend(); ++process) {
      (*process)->kill();
      (*process)->waitForFinished();
    }
  }

  qint64 start(const QString& program, const QStringList& arguments) {
    processes.push_back(std::make_unique<QProcess>());
    QProcess& process = *processes.back();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DISPLAY", server.displayName());
    process.setProcessEnvironment(environment);
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, arguments);
    EXPECT_TRUE(process.waitForStarted());
    return process.processId();
  }
  qint64 startTerminal(const QString& title) {
    return start("xterm", {"-T", title, "-e", "sh", "-c", "while read line; do :; done"});
  }
  bool isInFront(qint64 processId) {
    const auto front = workspace->frontmostApplication();
    return front && front->processId == processId;
  }

  WindowManager windowManager{server.displayName()};
  std::vector<std::unique_ptr<QProcess>> processes;
  std::vector<RunningApplication> launched;
  int frontmostChanges = 0;
  int hides = 0;
  std::unique_ptr<X11Workspace> workspace = *X11Workspace::open(
      &applicationIdentity::bundleIdOfWindow, QCoreApplication::applicationPid(), [this] { ++hides; },
      server.displayName());
  const Subscription launches =
      workspace->observeLaunches([this](const RunningApplication& one) { launched.push_back(one); });
  const Subscription changes = workspace->observeFrontmost([this] { ++frontmostChanges; });
};

TEST_F(X11WorkspaceTest, ApplicationsAreSeenToComeAndToTakeTheFront) {
  EXPECT_EQ(workspace->frontmostApplication(), std::nullopt) << "an empty desktop";
  const qint64 first = startTerminal("first");
  ASSERT_TRUE(waitUntil([&] { return isInFront(first) && !launched.empty() && frontmostChanges > 0; }));
  const auto front = *workspace->frontmostApplication();
  EXPECT_EQ(front.bundleId, "xterm");
  EXPECT_EQ(front.localizedName, "XTerm");
  EXPECT_EQ(front.windowTitle, "first");
  EXPECT_FALSE(front.isThisApplication);
  EXPECT_EQ(launched.front().processId, first);

  const qint64 second = startTerminal("two");
  ASSERT_TRUE(waitUntil([&] { return isInFront(second); }));
  ASSERT_TRUE(workspace->activate(first));
  EXPECT_TRUE(waitUntil([&] { return isInFront(first); }));
  ASSERT_TRUE(workspace->activate(second));
  EXPECT_TRUE(waitUntil([&] { return isInFront(second); }));
  EXPECT_EQ(launched.size(), 2u);

  EXPECT_EQ(workspace->runningApplication(first)->windowTitle, "first");
  EXPECT_TRUE(workspace->forceTerminate(second));
  EXPECT_TRUE(waitUntil([&] { return !workspace->runningApplication(second) && isInFront(first); }));
  EXPECT_FALSE(workspace->activate(second));
  EXPECT_FALSE(workspace->runningApplication(4711));
  EXPECT_FALSE(workspace->runningApplication(0));
  workspace->hideThisApplication();
  EXPECT_EQ(hides, 1);
}

TEST_F(X11WorkspaceTest, TheWindowThatWasActiveLastComesBack) {
  // Two windows of one process, and one of another on top.
  const qint64 below = startTerminal("below");
  ASSERT_TRUE(waitUntil([&] { return isInFront(below); }));
  const auto connection = *XcbConnection::open(server.displayName());
  const auto makeWindow = [&](const QByteArray& title) {
    xcb_connection_t* const raw = connection->raw();
    const xcb_window_t window = xcb_generate_id(raw);
    xcb_create_window(raw, XCB_COPY_FROM_PARENT, window, connection->root(), 0, 0, 100, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, connection->screen().root_visual, 0, nullptr);
    const uint32_t processId = 999999;
    const QByteArray name("tool\0Tool\0", 10);
    xcb_change_property(raw, XCB_PROP_MODE_REPLACE, window, connection->atom("_NET_WM_PID"), XCB_ATOM_CARDINAL, 32, 1,
                        &processId);
    xcb_change_property(raw, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                        uint32_t(name.size()), name.constData());
    xcb_change_property(raw, XCB_PROP_MODE_REPLACE, window, connection->atom("_NET_WM_NAME"),
                        connection->atom("UTF8_STRING"), 8, uint32_t(title.size()), title.constData());
    xcb_map_window(raw, window);
    connection->synchronize();
    EXPECT_TRUE(waitUntil([&] {
      const auto front = workspace->frontmostApplication();
      return front && front->windowTitle == QString::fromUtf8(title);
    }));
  };
  makeWindow("größer");
  makeWindow("zwei 会议");
  const qint64 terminal = startTerminal("above");
  ASSERT_TRUE(waitUntil([&] { return isInFront(terminal); }));
  ASSERT_TRUE(workspace->activate(999999));
  ASSERT_TRUE(waitUntil([&] { return isInFront(999999); }));
  EXPECT_EQ(workspace->frontmostApplication()->windowTitle, "zwei 会议");
  EXPECT_EQ(std::count_if(launched.begin(), launched.end(), [](const auto& one) { return one.processId == 999999; }),
            1);
}

TEST_F(X11WorkspaceTest, AServerThatDiesLeavesAnEmptyDesktop) {
  const qint64 terminal = startTerminal("one");
  ASSERT_TRUE(waitUntil([&] { return isInFront(terminal); }));
  server.kill();
  EXPECT_EQ(workspace->frontmostApplication(), std::nullopt);
  EXPECT_FALSE(workspace->activate(terminal));
  EXPECT_FALSE(X11Workspace::open({}, 1, {}, ":4711"));
}

}  // namespace
}  // namespace quillmere
