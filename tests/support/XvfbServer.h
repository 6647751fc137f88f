#pragma once
#include <QProcess>
#include <stdexcept>

namespace quillmere {

// A private X server without a screen, on a display that was free; ends with this object. Throws where Xvfb does not
// come up. Needs an application object.
class XvfbServer {
 public:
  XvfbServer() {
    process_.setStandardErrorFile(QProcess::nullDevice());
    process_.start("Xvfb", {"-displayfd", "1", "-screen", "0", "640x480x24", "-nolisten", "tcp", "-noreset"});
    while (!process_.canReadLine())
      if (!process_.waitForReadyRead(limitMs)) throw std::runtime_error("Xvfb does not start");
    displayName_ = u':' + QString::fromLatin1(process_.readLine().trimmed());
  }
  XvfbServer(const XvfbServer&) = delete;
  XvfbServer& operator=(const XvfbServer&) = delete;
  ~XvfbServer() {
    process_.terminate();
    if (!process_.waitForFinished(limitMs)) kill();
  }

  QString displayName() const { return displayName_; }
  // The server dies without a word to its clients.
  void kill() {
    process_.kill();
    process_.waitForFinished(-1);
  }

 private:
  static constexpr int limitMs = 60000;
  QProcess process_;
  QString displayName_;
};

}  // namespace quillmere
