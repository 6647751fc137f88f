#pragma once
#include <QDateTime>
#include <QStringList>

#include "base/Result.h"
#include "domain/Errors.h"

namespace quillmere {

// Reads back what the log sink has written. Any thread; blocks on the disk.
class LogArchive {
 public:
  virtual ~LogArchive() = default;
  // The lines written at or after `since` by every process of the application, oldest first, in a form for people; at
  // most the last `maxLines` of them. A line break inside a message starts another line. No log yet is an empty list.
  virtual Result<QStringList, PlatformError> recentLines(const QDateTime& since, int maxLines) const = 0;
};

}  // namespace quillmere
