#include "base/text/UnicodeRegex.h"

namespace quillmere {

QRegularExpression makeUnicodeRegex(const QString& pattern, bool caseInsensitive) {
  QRegularExpression::PatternOptions options = QRegularExpression::UseUnicodePropertiesOption;
  if (caseInsensitive) options |= QRegularExpression::CaseInsensitiveOption;
  return QRegularExpression(pattern, options);
}

QRegularExpression unicodeRegex(const QString& pattern, bool caseInsensitive) {
  auto regex = makeUnicodeRegex(pattern, caseInsensitive);
  Q_ASSERT_X(regex.isValid(), "unicodeRegex", qPrintable(regex.errorString() + QStringLiteral(": ") + pattern));
  return regex;
}

QString escapedPattern(const QString& text) {
  return QRegularExpression::escape(text);
}

QString replaceMatches(const QString& text, const QRegularExpression& pattern, const QString& replacement) {
  QString result;
  qsizetype copied = 0;
  for (auto matches = pattern.globalMatch(text); matches.hasNext();) {
    const auto match = matches.next();
    result += QStringView(text).mid(copied, match.capturedStart() - copied);
    result += replacement;
    copied = match.capturedEnd();
  }
  if (copied == 0 && result.isEmpty()) return text;
  result += QStringView(text).mid(copied);
  return result;
}

}  // namespace quillmere
