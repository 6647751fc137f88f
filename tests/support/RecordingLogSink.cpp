#include "support/RecordingLogSink.h"

namespace quillmere {

void RecordingLogSink::write(const LogRecord& record) {
  const std::lock_guard lock(mutex_);
  records_.push_back(record);
}

std::vector<LogRecord> RecordingLogSink::records() const {
  const std::lock_guard lock(mutex_);
  return records_;
}

QStringList RecordingLogSink::lines() const {
  QStringList lines;
  for (const auto& record : records()) lines.append(record.fullText());
  return lines;
}

QStringList RecordingLogSink::publicLines() const {
  QStringList lines;
  for (const auto& record : records()) lines.append(record.publicText());
  return lines;
}

QStringList RecordingLogSink::lines(LogLevel level) const {
  QStringList lines;
  for (const auto& record : records())
    if (record.level == level) lines.append(record.fullText());
  return lines;
}

int RecordingLogSink::count(const QString& text) const {
  return int(lines().filter(text).size());
}

bool RecordingLogSink::contains(const QString& text) const {
  return count(text) > 0;
}

void RecordingLogSink::clear() {
  const std::lock_guard lock(mutex_);
  records_.clear();
}

}  // namespace quillmere
