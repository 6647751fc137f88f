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

  bool isWindowInFront(xcb_window_t window) {
    const auto front = workspace->frontmostApplication();
    return front && front->windowId == window;
  }
  // The last active window of a process.
  static RunningApplication process(qint64 processId) {
    RunningApplication application;
    application.processId = processId;
    return application;
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
  ASSERT_TRUE(workspace->activate(process(first)));
  EXPECT_TRUE(waitUntil([&] { return isInFront(first); }));
  ASSERT_TRUE(workspace->activate(process(second)));
  EXPECT_TRUE(waitUntil([&] { return isInFront(second); }));
  EXPECT_EQ(launched.size(), 2u);

  EXPECT_EQ(workspace->find(process(first))->windowTitle, "first");
  EXPECT_TRUE(workspace->forceTerminate(second));
  EXPECT_TRUE(waitUntil([&] { return !workspace->find(process(second)) && isInFront(first); }));
  EXPECT_FALSE(workspace->activate(process(second)));
  EXPECT_FALSE(workspace->find(process(4711)));
  EXPECT_FALSE(workspace->find(process(0)));
  workspace->hideThisApplication();
  EXPECT_EQ(hides, 1);
}

// A program with windows of the test's making.
class Tool {
 public:
  explicit Tool(const QString& displayName) : connection_(*XcbConnection::open(displayName)) {}
  xcb_window_t show(const char* title, std::optional<uint32_t> toldProcessId = std::nullopt) {
    return show(xcb_generate_id(connection_->raw()), "tool", title, toldProcessId);
  }
  xcb_window_t show(xcb_window_t window, const QByteArray& name, const QByteArray& title,
                    std::optional<uint32_t> toldProcessId = std::nullopt) {
    xcb_connection_t* const raw = connection_->raw();
    xcb_create_window(raw, XCB_COPY_FROM_PARENT, window, connection_->root(), 0, 0, 100, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, connection_->screen().root_visual, 0, nullptr);
    if (toldProcessId)
      xcb_change_property(raw, XCB_PROP_MODE_REPLACE, window, connection_->atom("_NET_WM_PID"), XCB_ATOM_CARDINAL, 32,
                          1, &*toldProcessId);
    const QByteArray names = name + '\0' + name + '\0';
    xcb_change_property(raw, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                        uint32_t(names.size()), names.constData());
    xcb_change_property(raw, XCB_PROP_MODE_REPLACE, window, connection_->atom("_NET_WM_NAME"),
                        connection_->atom("UTF8_STRING"), 8, uint32_t(title.size()), title.constData());
    xcb_map_window(raw, window);
    connection_->synchronize();
    return window;
  }
  void close(xcb_window_t window) {
    xcb_destroy_window(connection_->raw(), window);
    connection_->synchronize();
  }
  // As a pager does.
  void showDesktop(uint32_t number) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = connection_->root();
    message.type = connection_->atom("_NET_CURRENT_DESKTOP");
    message.data.data32[0] = number;
    xcb_send_event(connection_->raw(), 0, connection_->root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    connection_->synchronize();
  }

 private:
  std::unique_ptr<XcbConnection> connection_;
};

TEST_F(X11WorkspaceTest, WindowsOfOneProgramAreToldApartAndAClosedOneIsNobody) {
  const qint64 below = startTerminal("below");
  ASSERT_TRUE(waitUntil([&] { return isInFront(below); }));
  Tool tool(server.displayName());
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
    EXPECT_TRUE(workspace->find(window)->isThisApplication);
  }
  ASSERT_TRUE(workspace->activate(press));
  EXPECT_TRUE(waitUntil([&] { return isWindowInFront(first); }));
  startTerminal("above");
  ASSERT_TRUE(waitUntil([&] { return !isWindowInFront(first); }));
  ASSERT_TRUE(workspace->activate(process(press.processId))) << "without a window the one that was active last";
  EXPECT_TRUE(waitUntil([&] { return isWindowInFront(first); }));

  // From another virtual desktop it isn't brought here; the desktop changes.
  tool.showDesktop(1);
  ASSERT_TRUE(waitUntil([&] { return !isWindowInFront(first); }));
  ASSERT_TRUE(workspace->activate(press));
  EXPECT_TRUE(waitUntil([&] { return isWindowInFront(first); }));
  ASSERT_TRUE(workspace->activate(process(processes.back()->processId())));
  EXPECT_TRUE(waitUntil([&] { return isInFront(processes.back()->processId()); })) << "it stayed on its own desktop";

  tool.close(first);
  EXPECT_TRUE(waitUntil([&] { return !workspace->find(press); }));
  EXPECT_FALSE(workspace->activate(press));
  tool.show(first, "another", "with the number of the closed one");
  ASSERT_TRUE(waitUntil([&] { return isWindowInFront(first); }));
  EXPECT_FALSE(workspace->find(press));
}

TEST_F(X11WorkspaceTest, TypingIsToldAndNothingElseAboutTheKeyboard) {
  const qint64 below = startTerminal("below");
  ASSERT_TRUE(waitUntil([&] { return isInFront(below); }));
  Tool tool(server.displayName());
  const xcb_window_t window = tool.show("letter");
  ASSERT_TRUE(waitUntil([&] { return isWindowInFront(window); }));
  std::vector<quint64> typed;
  auto typing = std::make_unique<Subscription>(
      workspace->observeTyping([&](const RunningApplication& one) { typed.push_back(one.windowId); }));
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
  EXPECT_EQ(typed.back(), window);
  typing.reset();
  keys.tap({XKB_KEY_a});
  pause(std::chrono::milliseconds(50));
  EXPECT_EQ(typed.size(), 2u);
}

TEST_F(X11WorkspaceTest, AServerThatDiesLeavesAnEmptyDesktop) {
  const qint64 terminal = startTerminal("one");
  ASSERT_TRUE(waitUntil([&] { return isInFront(terminal); }));
  server.kill();
  EXPECT_EQ(workspace->frontmostApplication(), std::nullopt);
  EXPECT_FALSE(workspace->activate(process(terminal)));
  EXPECT_FALSE(X11Workspace::open({}, 1, {}, ":4711"));
}

}  // namespace
}  // namespace quillmere
