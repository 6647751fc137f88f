#pragma once
#include <QProcess>
#include <QStringList>

namespace quillmere {

// One run of a command-line tool of the desktop (xdotool, xclip, pactl, ...).
struct Tool {
  int code = -1;
  QByteArray out;
  QByteArray err;

  static Tool run(const QString& program, const QStringList& arguments, const QByteArray& input = {},
                  int timeoutMs = 30000) {
    QProcess process;
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(timeoutMs)) {
      process.kill();
      process.waitForFinished();
    }
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
  }
  QString text() const { return QString::fromUtf8(out).trimmed(); }
};

}  // namespace quillmere
