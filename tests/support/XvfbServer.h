#pragma once
#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <memory>

namespace quillmere {

// A private X server without a screen, on a display that was free; ends with this object. Needs an application object.
class XvfbServer {
 public:
  // Null when Xvfb is not installed or does not come up; the reason says so.
  static std::unique_ptr<XvfbServer> start(QString& reason) {
    const QString program = QStandardPaths::findExecutable(QStringLiteral("Xvfb"));
    if (program.isEmpty()) {
      reason = QStringLiteral("Xvfb is not installed");
      return nullptr;
    }
    std::unique_ptr<XvfbServer> server(new XvfbServer);
    QProcess& process = server->process_;
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                            QStringLiteral("0"), QStringLiteral("640x480x24"), QStringLiteral("-nolisten"),
                            QStringLiteral("tcp"), QStringLiteral("-noreset")});
    while (!process.canReadLine()) {
      if (process.waitForReadyRead(startLimitMs)) continue;
      reason = QStringLiteral("Xvfb does not start");
      return nullptr;
    }
    server->displayName_ = u':' + QString::fromLatin1(process.readLine().trimmed());
    return server;
  }
  XvfbServer(const XvfbServer&) = delete;
  XvfbServer& operator=(const XvfbServer&) = delete;
  ~XvfbServer() {
    process_.terminate();
    if (!process_.waitForFinished(startLimitMs)) kill();
  }

  QString displayName() const { return displayName_; }
  // The server dies without a word to its clients.
  void kill() {
    process_.kill();
    process_.waitForFinished(-1);
  }

 private:
  static constexpr int startLimitMs = 60000;
  XvfbServer() = default;

  QProcess process_;
  QString displayName_;
};

}  // namespace quillmere
