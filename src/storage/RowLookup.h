#pragma once
#include <QString>
#include <QUuid>
#include <optional>

namespace quillmere {

// Why a row named by a person wasn't found, with a sentence for that person.
struct LookupFailure {
  enum class Kind { notFound, ambiguous };
  Kind kind = Kind::notFound;
  int matchCount = 0;
  QString message;
  bool operator==(const LookupFailure&) const = default;
};

// The beginning of an identifier as it stands in the store, from what a person typed ("1234ABCD-56" -> "1234abcd-56");
// nothing for a text that can't begin one or has less than four digits.
std::optional<QString> idPrefix(const QString& typed);
// A whole identifier, with or without braces and dashes.
std::optional<QUuid> parseId(const QString& text);
// In any case.
bool sameWord(const QString& a, const QString& b);

}  // namespace quillmere
