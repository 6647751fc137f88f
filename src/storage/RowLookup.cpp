#include "storage/RowLookup.h"

namespace quillmere {

bool sameWord(const QString& a, const QString& b) {
  return a.compare(b, Qt::CaseInsensitive) == 0;
}

std::optional<QString> idPrefix(const QString& typed) {
  QString digits;
  for (const QChar character : typed.trimmed().toLower()) {
    if (character == u'-' || character == u'{' || character == u'}') continue;
    const bool isHexDigit = (character >= u'0' && character <= u'9') || (character >= u'a' && character <= u'f');
    if (!isHexDigit) return std::nullopt;
    digits += character;
  }
  if (digits.size() < 4 || digits.size() > 32) return std::nullopt;
  for (const int dash : {20, 16, 12, 8})
    if (digits.size() > dash) digits.insert(dash, u'-');
  return digits;
}

std::optional<QUuid> parseId(const QString& text) {
  const auto whole = idPrefix(text);  // QUuid itself overlooks what follows an identifier
  if (!whole || whole->size() != 36) return std::nullopt;
  return QUuid::fromString(*whole);
}

}  // namespace quillmere
