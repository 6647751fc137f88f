#include "postprocessing/TranscriptionTextProcessing.h"

#include "base/text/Graphemes.h"
#include "base/text/UnicodeRegex.h"

namespace quillmere {
namespace {

using TextSegment = TranscriptionTextProcessing::TextSegment;

constexpr const char* hallucinatedPhrases[] = {
    "Thank you for watching!",
    "Thanks for watching!",
    "Please subscribe",
    "Don't forget to like",
    "[Music]",
    "[Applause]",
    "(applause)",
    "(music)",
    "Transcribed by https://otter.ai",
    "Subtitles by",
    "♪♪♪",
    ">>>",
};

constexpr const char* cjkLanguageCodes[] = {"ja", "zh", "zh-TW", "zh-Hans", "zh-Hant", "ko", "th"};

bool isCjkLanguage(const QString& code) {
  return std::any_of(std::begin(cjkLanguageCodes), std::end(cjkLanguageCodes),
                     [&](const char* candidate) { return code == QLatin1String(candidate); });
}

bool hasLetter(const QString& text) {
  const auto scalars = text.toUcs4();
  return std::any_of(scalars.begin(), scalars.end(), [](char32_t scalar) { return QChar::isLetter(scalar); });
}

bool isCjkScalar(char32_t scalar) {
  return (scalar >= 0x1100 && scalar <= 0x11FF) || (scalar >= 0x3040 && scalar <= 0x30FF) ||
         (scalar >= 0x3400 && scalar <= 0x4DBF) || (scalar >= 0x4E00 && scalar <= 0x9FFF) ||
         (scalar >= 0xAC00 && scalar <= 0xD7AF);
}

// More than three tenths of what is neither space nor punctuation is written in a script without spaces.
bool isCjkText(const QString& text) {
  int total = 0;
  int cjk = 0;
  for (const char32_t scalar : text.toUcs4()) {
    if (QChar::isSpace(scalar) || QChar::isPunct(scalar)) continue;
    ++total;
    if (isCjkScalar(scalar)) ++cjk;
  }
  return total > 0 && static_cast<double>(cjk) / total > 0.3;
}

}  // namespace

QString TranscriptionTextProcessing::removeHallucinations(QString text) {
  for (const char* phrase : hallucinatedPhrases) text.remove(QString::fromUtf8(phrase), Qt::CaseInsensitive);
  static const QRegularExpression whiteSpace = unicodeRegex(QStringLiteral("\\s+"));
  text = trimmedText(replaceMatches(text, whiteSpace, QStringLiteral(" ")));
  return graphemeCount(text) > 2 || hasLetter(text) ? text : QString();
}

QString TranscriptionTextProcessing::applyVoiceCommands(const QString& text, const Logger& logger) {
  const QRegularExpression newLine = makeUnicodeRegex(QStringLiteral("(?i)\\bnew\\s*line[.,!?]?"));
  if (!newLine.isValid()) {
    logger.warning("⚠️ Failed to create voice command regex");
    return text;
  }
  return replaceMatches(text, newLine, QStringLiteral("\n\n"));
}

QString TranscriptionTextProcessing::appendTrailingSpace(const QString& text, const QString& language) {
  if (text.isEmpty() || text.back().isSpace()) return text;
  const bool isSpaceless =
      language == QLatin1String("auto") ? isCjkText(text) : isCjkLanguage(language) || isCjkLanguage(language.left(2));
  return isSpaceless ? text : text + u' ';
}

std::vector<TextSegment> TranscriptionTextProcessing::segmentText(const QString& text,
                                                                  const std::vector<ProcessedTag>& processedTags,
                                                                  const Logger& logger) {
  struct Reference {
    TextRange range;
    QString replacement;
  };
  std::vector<Reference> references;
  for (const ProcessedTag& tag : processedTags)
    if (tag.replacementRange && tag.matchedFile) references.push_back({*tag.replacementRange, tag.replacement});
  std::stable_sort(references.begin(), references.end(),
                   [](const Reference& a, const Reference& b) { return a.range.start < b.range.start; });

  std::vector<TextRange> accepted;
  qsizetype lastEnd = 0;
  for (const Reference& reference : references) {
    const TextRange range{reference.range.start, std::min(reference.range.end, text.size())};
    if (range.start >= range.end) {
      logger.warning("⚠️ [TextSegmentation] Skipping empty/invalid range for replacement: %{public}s",
                     reference.replacement);
      continue;
    }
    if (range.start < lastEnd) {
      logger.warning("⚠️ [TextSegmentation] Skipping overlapping range for replacement: %{public}s",
                     reference.replacement);
      continue;
    }
    accepted.push_back(range);
    lastEnd = range.end;
  }
  if (accepted.empty()) return {{TextSegment::Kind::text, text}};

  std::vector<TextSegment> segments;
  qsizetype cursor = 0;
  for (const TextRange& range : accepted) {
    if (range.start > cursor) segments.push_back({TextSegment::Kind::text, text.mid(cursor, range.start - cursor)});
    segments.push_back({TextSegment::Kind::fileReference, text.mid(range.start, range.end - range.start)});
    cursor = range.end;
  }
  if (cursor < text.size()) segments.push_back({TextSegment::Kind::text, text.mid(cursor)});
  return segments;
}

}  // namespace quillmere
