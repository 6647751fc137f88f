#pragma once
#include <QCoreApplication>

#include "platform/linux/ApplicationIdentity.h"
#include "platform/x11/WindowManager.h"
#include "platform/x11/X11Workspace.h"

namespace quillmere {

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
    setTitle(window, title);
    xcb_map_window(raw, window);
    connection_->synchronize();
    return window;
  }
  void setTitle(xcb_window_t window, const QByteArray& title) {
    xcb_change_property(connection_->raw(), XCB_PROP_MODE_REPLACE, window, connection_->atom("_NET_WM_NAME"),
                        connection_->atom("UTF8_STRING"), 8, uint32_t(title.size()), title.constData());
    connection_->synchronize();
  }
  void close(xcb_window_t window) {
    xcb_destroy_window(connection_->raw(), window);
    connection_->synchronize();
  }
  void showDesktop(uint32_t number) { ask("_NET_CURRENT_DESKTOP", connection_->root(), number); }

 private:
  // As a pager does.
  void ask(const char* what, xcb_window_t window, uint32_t argument) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = connection_->atom(what);
    message.data.data32[0] = argument;
    xcb_send_event(connection_->raw(), 0, connection_->root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    connection_->synchronize();
  }

  std::unique_ptr<XcbConnection> connection_;
};

// A desktop with a window manager and programs that come and go.
struct WorkspaceDesk : X11Desk {
  WorkspaceDesk() = default;
  WorkspaceDesk(const WorkspaceDesk&) = delete;
  WorkspaceDesk& operator=(const WorkspaceDesk&) = delete;
  ~WorkspaceDesk() {
    for (auto process = processes.rbegin(); process != processes.rend(); ++process) {
      (*process)->kill();
      (*process)->waitForFinished();
    }
  }
  qint64 startTerminal(const QString& title) {
    processes.push_back(std::make_unique<QProcess>());
    QProcess& process = *processes.back();
    startOn(server.displayName(), process, "xterm", {"-T", title, "-e", "sh", "-c", "while read line; do :; done"});
    EXPECT_TRUE(process.waitForStarted());
    return process.processId();
  }

  WindowManager windowManager{server.displayName()};
  Tool tool{server.displayName()};
  std::vector<std::unique_ptr<QProcess>> processes;
  std::unique_ptr<X11Workspace> workspace = *X11Workspace::open(
      &applicationIdentity::bundleIdOfWindow, QCoreApplication::applicationPid(), nullptr, server.displayName());
};

}  // namespace quillmere
