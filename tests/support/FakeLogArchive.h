#pragma once
#include "ports/LogArchive.h"

namespace quillmere {

// Gives the last of `lines`, or `failure`; remembers what it was asked.
class FakeLogArchive final : public LogArchive {
 public:
  Result<QStringList, PlatformError> recentLines(const QDateTime& since, int maxLines) const override {
    askedSince = since;
    askedLines = maxLines;
    ++asked;
    if (failure) return Failed{*failure};
    return lines.mid(std::max<qsizetype>(0, lines.size() - maxLines));
  }

  QStringList lines;
  std::optional<PlatformError> failure;
  mutable QDateTime askedSince;
  mutable int askedLines = 0;
  mutable int asked = 0;
};

}  // namespace quillmere
