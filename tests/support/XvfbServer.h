#pragma once
#include <QProcess>

namespace quillmere {

// A private X server without a screen, on a display that was free; ends with this object. Throws where Xvfb does not
// come up. Needs an application object.
class XvfbServer {
 public:
  XvfbServer();
  XvfbServer(const XvfbServer&) = delete;
  XvfbServer& operator=(const XvfbServer&) = delete;
  ~XvfbServer();

  QString displayName() const { return displayName_; }
  // The server dies without a word to its clients.
  void kill();

 private:
  QProcess process_;
  QString displayName_;
};

}  // namespace quillmere
