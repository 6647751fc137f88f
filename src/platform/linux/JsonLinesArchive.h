#pragma once
#include <QString>

#include "ports/LogArchive.h"

namespace quillmere {

// Reads back the files of JsonLinesLog, newest first and only as far as asked. A line that is no record (cut short by a
// full disk, say) is passed over.
class JsonLinesArchive final : public LogArchive {
 public:
  explicit JsonLinesArchive(QString folder) : folder_(std::move(folder)) {}
  Result<QStringList, PlatformError> recentLines(const QDateTime& since, int maxLines) const override;

 private:
  QString folder_;
};

}  // namespace quillmere
