#pragma once
#include <QStringList>
#include <mutex>

#include "base/log/Logger.h"

namespace quillmere {

// Keeps every log record in memory. Any thread.
class RecordingLogSink final : public LogSink {
 public:
  void write(const LogRecord& record) override;

  // Every line with all its arguments, in the order they were written.
  QStringList lines() const;
  // The same as they would reach a file: private arguments masked.
  QStringList publicLines() const;
  QStringList lines(LogLevel level) const;
  std::vector<LogRecord> records() const;
  bool contains(const QString& text) const;
  int count(const QString& text) const;
  void clear();

 private:
  mutable std::mutex mutex_;
  std::vector<LogRecord> records_;
};

}  // namespace quillmere
