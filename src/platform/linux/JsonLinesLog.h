#pragma once
#include <QString>
#include <functional>
#include <memory>

#include "base/log/Logger.h"

namespace quillmere {

class SharedRotatingFileSink;

// The log of this user: JSON lines in rotating files that all processes of the application share. Private
// values are masked before anything is written. Thread-safe; a write is one append and never waits for another process.
// Nothing is touched before the first line, and a folder that can't be written never stops the program.
class JsonLinesLog final : public LogSink {
 public:
  struct Options {
    QString folder;
    QString processName;
    LogLevel minimumLevel = LogLevel::info;
    qint64 maxFileBytes = 5'000'000;
    int maxFiles = 5;
    // One sentence, once, when the log can't be written; on the thread of the write. Empty: silence.
    std::function<void(const QString& reason)> onFailure;
  };
  static constexpr char baseName[] = "quillmere";  // of the files

  explicit JsonLinesLog(Options options);
  ~JsonLinesLog() override;

  void write(const LogRecord& record) override;

 private:
  LogLevel minimumLevel_;
  std::shared_ptr<SharedRotatingFileSink> sink_;
};

}  // namespace quillmere
