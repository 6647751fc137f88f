#pragma once
#include <sys/types.h>

#include <spdlog/sinks/base_sink.h>
#include <QString>
#include <functional>
#include <mutex>
#include <optional>

#include "base/Result.h"
#include "domain/Errors.h"

namespace quillmere {

// A line file that several processes append to and rotate at the same time: NAME.log, NAME.1.log, ... each line is one
// append of the kernel, a process that rotates holds a lock file, the others notice by the file's identity that it has
// moved on. Nothing is opened before the first line. A folder that can't be written never throws: the line is dropped,
// `onFailure` hears it once, and the next try comes `retryMs` later. Any thread; a write never waits for another
// process.
class SharedRotatingFileSink final : public spdlog::sinks::base_sink<std::mutex> {
 public:
  struct Options {
    QString folder;    // made with mode 0700 when missing
    QString baseName;  // "quillmere" for quillmere.log
    qint64 maxFileBytes = 5'000'000;
    int maxFiles = 5;  // the current one included
    int retryMs = 60'000;
    std::function<void(const QString& reason)> onFailure;
  };

  explicit SharedRotatingFileSink(Options options);
  ~SharedRotatingFileSink() override;

  // Path of the current file (0) or of the nth older one.
  static QString filePath(const QString& folder, const QString& baseName, int age);

 protected:
  void sink_it_(const spdlog::details::log_msg& message) override;
  void flush_() override {}

 private:
  bool isCurrent() const;
  bool open();
  void close();
  void rotate();
  void append(const char* bytes, size_t size);
  void fail(const char* what, int number);

  Options options_;
  QByteArray path_;
  int descriptor_ = -1;
  bool isLineTorn_ = false;  // the last append was cut short (full disk): the next one starts on a line of its own
  std::optional<qint64> failedAtMs_;
  bool hasReportedFailure_ = false;
};

}  // namespace quillmere
