#pragma once
#include <QProcess>
#include <QProcessEnvironment>

#include "platform/x11/X11Desk.h"

namespace quillmere {

// Starts a program on that display.
inline void startOn(const QString& displayName, QProcess& process, const QString& program,
                    const QStringList& arguments) {
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("DISPLAY", displayName);
  process.setProcessEnvironment(environment);
  process.setStandardErrorFile(QProcess::nullDevice());
  process.start(program, arguments);
}

// Starts openbox on the server and waits until it manages windows. Ends with this object.
class WindowManager {
 public:
  explicit WindowManager(const QString& displayName) {
    startOn(displayName, process_, "openbox", {"--sm-disable"});
    const auto connection = *XcbConnection::open(displayName);
    const bool isReady = waitUntil([&] {
      // Set when it has looked through the windows that were there before.
      const auto cookie = xcb_get_property(connection->raw(), 0, connection->root(),
                                           connection->atom("_NET_CLIENT_LIST_STACKING"), XCB_ATOM_WINDOW, 0, 1);
      const XcbPointer<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection->raw(), cookie, nullptr));
      return reply && reply->type == XCB_ATOM_WINDOW;
    });
    if (!isReady) throw std::runtime_error("openbox does not start");
  }
  WindowManager(const WindowManager&) = delete;
  WindowManager& operator=(const WindowManager&) = delete;
  ~WindowManager() {
    process_.kill();
    process_.waitForFinished();
  }

 private:
  QProcess process_;
};

}  // namespace quillmere
