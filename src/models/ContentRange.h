#pragma once
#include <QByteArray>
#include <optional>

namespace quillmere {

// The value of a Content-Range header of one part: "bytes FIRST-LAST/TOTAL". All in bytes.
struct ContentRange {
  qint64 first = 0;
  qint64 last = 0;
  std::optional<qint64> total;  // absent for "*"
  bool operator==(const ContentRange&) const = default;

  // Nothing for anything but a sensible range: first <= last < total, digits only, below 10^18.
  static std::optional<ContentRange> parse(const QByteArray& header);
};

}  // namespace quillmere
