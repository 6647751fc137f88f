#include "postprocessing/VocabularyReplacement.h"

#include "base/text/Graphemes.h"
#include "base/text/UnicodeRegex.h"

namespace quillmere {
namespace {

bool takesPart(const VocabularyPtr& row) {
  return row && row->word && !row->word->isEmpty() && row->replacement && !row->replacement->isEmpty();
}

QString replaceWord(const QString& text, const QString& word, const QString& replacement) {
  const QRegularExpression pattern =
      unicodeRegex(QStringLiteral("\\b") + escapedPattern(word) + QStringLiteral("\\b"), true);
  QString result;
  qsizetype copied = 0;
  auto matches = pattern.globalMatch(text);
  while (matches.hasNext()) {
    const QRegularExpressionMatch match = matches.next();
    result += QStringView(text).mid(copied, match.capturedStart() - copied);
    result += expandReplacementTemplate(replacement, match.capturedView());
    copied = match.capturedEnd();
  }
  result += QStringView(text).mid(copied);
  return result;
}

}  // namespace

QString expandReplacementTemplate(QStringView replacement, QStringView match) {
  QString result;
  for (qsizetype i = 0; i < replacement.size(); ++i) {
    const QChar character = replacement[i];
    const bool hasNext = i + 1 < replacement.size();
    if (character == u'\\') {
      if (hasNext) result += replacement[++i];
    } else if (character == u'$' && hasNext && replacement[i + 1] >= u'0' && replacement[i + 1] <= u'9') {
      if (replacement[++i] == u'0') result += match;
    } else {
      result += character;
    }
  }
  return result;
}

QString applyVocabulary(const QString& text, const std::vector<VocabularyPtr>& rows, const Logger& logger) {
  std::vector<VocabularyPtr> used;
  std::copy_if(rows.begin(), rows.end(), std::back_inserter(used), takesPart);
  std::stable_sort(used.begin(), used.end(),
                   [](const VocabularyPtr& a, const VocabularyPtr& b) { return *a->word < *b->word; });
  QString result = text;
  for (const VocabularyPtr& row : used) {
    QString replaced = replaceWord(result, *row->word, *row->replacement);
    if (replaced == result) continue;
    logger.debug("Applied vocabulary replacement: %s → %s", *row->word, *row->replacement);
    result = std::move(replaced);
  }
  return trimmedText(result);
}

}  // namespace quillmere
