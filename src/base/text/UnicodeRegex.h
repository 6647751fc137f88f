#pragma once
#include <QRegularExpression>
#include <QString>

namespace quillmere {

// A pattern whose \w, \d, \s, \b and case rules know all of Unicode. Every pattern over text of people is made with it.
// A pattern that does not compile is a bug when it is a literal (asserted); give it makeUnicodeRegex when it comes from
// outside. Any thread.
QRegularExpression unicodeRegex(const QString& pattern, bool caseInsensitive = false);

// The same without the assertion: check isValid().
QRegularExpression makeUnicodeRegex(const QString& pattern, bool caseInsensitive = false);

// The pattern that matches exactly this text.
QString escapedPattern(const QString& text);

// Replaces every match by the replacement as it stands: backslashes and digits in it mean nothing.
QString replaceMatches(const QString& text, const QRegularExpression& pattern, const QString& replacement);

}  // namespace quillmere
