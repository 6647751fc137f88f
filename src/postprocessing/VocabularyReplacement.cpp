#include "postprocessing/VocabularyReplacement.h"

#include "base/text/Graphemes.h"
#include "base/text/UnicodeRegex.h"

namespace quillmere {
namespace {

bool takesPart(const VocabularyPtr& row) {
  return row && row->word && !row->word->isEmpty() && row->replacement && !row->replacement->isEmpty();
}

// A word of letters stands between word boundaries. At a sign there is none, so that side looks at its neighbour.
QString boundaryOf(char32_t scalar, const char* atSign) {
  return QString::fromLatin1(QChar::isLetterOrNumber(scalar) || scalar == U'_' ? "\\b" : atSign);
}

QRegularExpression patternOf(const QString& word) {
  const auto scalars = word.toUcs4();
  return makeUnicodeRegex(boundaryOf(scalars.front(), "(?<![\\p{L}\\p{N}])") + escapedPattern(word) +
                              boundaryOf(scalars.back(), "(?![\\p{L}\\p{N}])"),
                          true);
}

}  // namespace

QString applyVocabulary(const QString& text, const std::vector<VocabularyPtr>& rows, const Logger& logger) {
  std::vector<VocabularyPtr> used;
  std::copy_if(rows.begin(), rows.end(), std::back_inserter(used), takesPart);
  std::stable_sort(used.begin(), used.end(),
                   [](const VocabularyPtr& a, const VocabularyPtr& b) { return *a->word < *b->word; });
  QString result = text;
  for (const VocabularyPtr& row : used) {
    QString replaced = replaceMatches(result, patternOf(*row->word), *row->replacement);
    if (replaced == result) continue;
    logger.debug("Applied vocabulary replacement: %s → %s", *row->word, *row->replacement);
    result = std::move(replaced);
  }
  return trimmedText(result);
}

QStringList vocabularyForPrompt(const std::vector<VocabularyPtr>& rows) {
  QStringList words;
  for (const VocabularyPtr& row : rows) {
    if (!row || !row->word || row->word->isEmpty()) continue;
    words.append(takesPart(row) ? *row->replacement : *row->word);
  }
  words.removeDuplicates();
  return words;
}

}  // namespace quillmere
