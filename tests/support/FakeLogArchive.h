#pragma once
#include <vector>

#include "ports/LogArchive.h"

namespace quillmere {

// A log that the test writes line by line.
class FakeLogArchive final : public LogArchive {
 public:
  void write(const QDateTime& time, const QString& message) { records_.emplace_back(time, message); }
  Result<QStringList, PlatformError> recentLines(const QDateTime& since, int maxLines) const override {
    ++asked;
    if (failure) return Failed{*failure};
    QStringList lines;
    for (const auto& [time, message] : records_)
      if (time >= since) lines += message.split(u'\n');
    return lines.mid(std::max<qsizetype>(0, lines.size() - maxLines));
  }

  std::optional<PlatformError> failure;
  mutable int asked = 0;

 private:
  std::vector<std::pair<QDateTime, QString>> records_;
};

}  // namespace quillmere
