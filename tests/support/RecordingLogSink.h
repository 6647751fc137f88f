#pragma once
#include <QStringList>
#include <mutex>

#include "base/log/Logger.h"

namespace quillmere {

// Keeps every log record in memory. Any thread.
class RecordingLogSink final : public LogSink {
 public:
  void write(const LogRecord& record) override {
    const std::lock_guard lock(mutex_);
    records_.push_back(record);
  }

  std::vector<LogRecord> records() const {
    const std::lock_guard lock(mutex_);
    return records_;
  }
  // Every line (of one level) with all its arguments, in the order they were written.
  QStringList lines(std::optional<LogLevel> level = {}) const {
    QStringList lines;
    for (const auto& record : records())
      if (!level || record.level == *level) lines.append(record.fullText());
    return lines;
  }
  // The same as they would reach a file: private arguments masked.
  QStringList publicLines() const {
    QStringList lines;
    for (const auto& record : records()) lines.append(record.publicText());
    return lines;
  }
  bool contains(const QString& text) const { return count(text) > 0; }
  int count(const QString& text) const { return int(lines().filter(text).size()); }
  void clear() {
    const std::lock_guard lock(mutex_);
    records_.clear();
  }

 private:
  mutable std::mutex mutex_;
  std::vector<LogRecord> records_;
};

}  // namespace quillmere
