#include "models/ContentRange.h"

namespace quillmere {
namespace {

std::optional<qint64> number(const QByteArray& digits) {
  if (digits.isEmpty() || digits.size() > 18) return std::nullopt;
  for (const char c : digits)
    if (c < '0' || c > '9') return std::nullopt;
  return digits.toLongLong();
}

}  // namespace

std::optional<ContentRange> ContentRange::parse(const QByteArray& header) {
  const QByteArray text = header.trimmed();
  if (text.left(6).toLower() != "bytes ") return std::nullopt;
  const QByteArray range = text.mid(6).trimmed();
  const qsizetype dash = range.indexOf('-');
  const qsizetype slash = range.indexOf('/');
  if (dash < 0 || slash < dash) return std::nullopt;
  const auto first = number(range.left(dash));
  const auto last = number(range.mid(dash + 1, slash - dash - 1));
  if (!first || !last || *first > *last) return std::nullopt;
  const QByteArray total = range.mid(slash + 1);
  if (total == "*") return ContentRange{*first, *last, std::nullopt};
  const auto totalBytes = number(total);
  if (!totalBytes || *last >= *totalBytes) return std::nullopt;
  return ContentRange{*first, *last, totalBytes};
}

}  // namespace quillmere
