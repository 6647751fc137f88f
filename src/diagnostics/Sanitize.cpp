#include "diagnostics/Sanitize.h"

#include <QRegularExpression>
#include <array>

namespace quillmere {
namespace {

struct Rule {
  QRegularExpression pattern;
  QString replacement;
};

Rule rule(const char* pattern, const char* replacement) {
  return {QRegularExpression(QString::fromLatin1(pattern), QRegularExpression::UseUnicodePropertiesOption),
          QString::fromLatin1(replacement)};
}

const std::array<Rule, 7>& rules() {
  // The order matters: a path is cut before its parts can look like anything else.
  static const std::array<Rule, 7> all{
      rule(R"(/Users/[^/\s]+/)", "/Users/[REDACTED]/"),
      rule(R"(/home/[^/\s]+/)", "/home/[REDACTED]/"),
      rule(R"(\b\d{1,3}\.\d{1,3}\.\d{1,3}\.\d{1,3}\b)", "[IP_REDACTED]"),
      rule(R"((?i)(text|transcript|content|prompt|message):\s*[^\n\r]{20,})", "[CONTENT_REDACTED]"),
      rule(R"((?i)Full text:\s*.*)", "[CONTENT_REDACTED]"),
      rule(R"((?i)Text preview:\s*.*)", "[CONTENT_REDACTED]"),
      rule(R"(\b[A-Za-z0-9._%+-]+@[A-Za-z0-9.-]+\.[A-Za-z]{2,}\b)", "[EMAIL_REDACTED]"),
  };
  return all;
}

}  // namespace

QString sanitize(const QString& text) {
  QString clean = text;
  for (const Rule& each : rules())
    if (each.pattern.isValid()) clean.replace(each.pattern, each.replacement);
  return clean;
}

}  // namespace quillmere
