#pragma once
#include <QProcess>
#include <QStringList>

namespace quillmere {

// One run of a command-line program to its end.
struct Tool {
  int code = -1;
  QByteArray out, err;

  static Tool run(const QString& program, const QStringList& arguments, int timeoutMs = 30000) {
    QProcess process;
    process.start(program, arguments);
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
