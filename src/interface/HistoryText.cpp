#include "interface/HistoryText.h"

#include <QTextBoundaryFinder>
#include <algorithm>
#include <cmath>

#include "base/text/Folding.h"
#include "base/text/Graphemes.h"
#include "base/text/LocalizedText.h"
#include "storage/TranscriptSearch.h"

namespace quillmere {
namespace {

// A text folded for searching, with the place in the original of each of its units.
struct FoldedText {
  QString text;
  std::vector<int> origin;  // one more than units: the end
};

FoldedText folded(const QString& text) {
  FoldedText result;
  QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
  int from = 0;
  while (from < text.size()) {
    const auto next = finder.toNextBoundary();
    const int to = next < 0 ? int(text.size()) : int(next);
    const QString piece = foldedForSearch(text.mid(from, to - from));
    result.text += piece;
    result.origin.insert(result.origin.end(), size_t(piece.size()), from);
    from = to;
  }
  result.origin.push_back(int(text.size()));
  return result;
}

bool isWordStart(const QString& text, qsizetype position) {
  return position == 0 || !text.at(position - 1).isLetterOrNumber();
}

int endOfCluster(const QString& text, int position) {
  QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
  finder.setPosition(position);
  const auto next = finder.toNextBoundary();
  return next < 0 ? int(text.size()) : int(next);
}

QString withoutMark(QString text) {
  for (const char* mark : {"Transcription failed:", "Retry failed:", "Error:"})
    if (text.startsWith(QLatin1String(mark))) return text.mid(qsizetype(qstrlen(mark))).trimmed();
  return text;
}

}  // namespace

std::vector<TextRange> searchHits(const QString& text, const QString& search) {
  const SearchQuery query = parseSearch(search);
  std::vector<TextRange> hits;
  if (query.isEmpty()) return hits;
  const FoldedText haystack = folded(text);
  for (const SearchQuery::Piece& piece : query.pieces) {
    const QString needle = foldedForSearch(piece.text);
    if (needle.isEmpty()) continue;
    std::vector<qsizetype> atWordStart, anywhere;
    for (qsizetype at = haystack.text.indexOf(needle); at >= 0; at = haystack.text.indexOf(needle, at + needle.size()))
      (isWordStart(haystack.text, at) ? atWordStart : anywhere).push_back(at);
    for (const qsizetype at : atWordStart.empty() ? anywhere : atWordStart) {
      const int start = haystack.origin[size_t(at)];
      const int end = endOfCluster(text, haystack.origin[size_t(at + needle.size() - 1)]);
      hits.push_back({start, end - start});
    }
  }
  std::sort(hits.begin(), hits.end(), [](const TextRange& a, const TextRange& b) {
    return a.start != b.start ? a.start < b.start : a.length > b.length;
  });
  std::vector<TextRange> merged;
  for (const TextRange& hit : hits) {
    if (merged.empty() || hit.start > merged.back().start + merged.back().length)
      merged.push_back(hit);
    else
      merged.back().length = std::max(merged.back().length, hit.start + hit.length - merged.back().start);
  }
  return merged;
}

Excerpt excerpt(const QString& text, const QString& search, int maximumCharacters) {
  QString line = trimmedText(text);
  line.replace(QStringLiteral("\r\n"), QStringLiteral(" "));
  line.replace(u'\n', u' ').replace(u'\r', u' ').replace(u'\u2028', u' ').replace(u'\u2029', u' ');
  // Long texts are looked at around their first hit only.
  std::vector<TextRange> hits = searchHits(line, search);
  if (line.size() <= maximumCharacters) return {line, hits};

  int from = 0;
  const int margin = maximumCharacters / 4;
  if (!hits.empty() && hits.front().start + hits.front().length > maximumCharacters - margin)
    from = std::max(0, hits.front().start - margin);
  int to = std::min(int(line.size()), from + maximumCharacters);
  from = std::max(0, std::min(from, int(line.size()) - maximumCharacters));
  if (from > 0) {
    const auto blank = line.indexOf(u' ', from);
    if (blank >= 0 && blank < from + margin) from = int(blank) + 1;
  }
  if (to < line.size()) {
    const auto blank = line.lastIndexOf(u' ', to);
    if (blank > to - margin) to = int(blank);
  }
  // Never through the middle of a character.
  QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, line);
  for (int* edge : {&from, &to}) {
    finder.setPosition(*edge);
    if (!finder.isAtBoundary()) *edge = std::max(0, int(finder.toPreviousBoundary()));
  }
  Excerpt result;
  const QString ellipsis = QStringLiteral("…");
  const int shift = from > 0 ? int(ellipsis.size()) : 0;
  result.text =
      (from > 0 ? ellipsis : QString()) + line.mid(from, to - from) + (to < line.size() ? ellipsis : QString());
  for (const TextRange& hit : hits) {
    const int start = std::max(hit.start, from), end = std::min(hit.start + hit.length, to);
    if (start < end) result.hits.push_back({start - from + shift, end - start});
  }
  return result;
}

QString markedHtml(const QString& text, const std::vector<TextRange>& hits) {
  QString html;
  int done = 0;
  for (const TextRange& hit : hits) {
    html += text.mid(done, hit.start - done).toHtmlEscaped();
    html += QStringLiteral("<span class=\"hit\">") + text.mid(hit.start, hit.length).toHtmlEscaped() +
            QStringLiteral("</span>");
    done = hit.start + hit.length;
  }
  return html + text.mid(done).toHtmlEscaped();
}

QString dayHeading(const QDate& day, const QDate& today, const QLocale& locale) {
  const auto age = day.daysTo(today);
  if (age == 0) return localizedText("history.day.today");
  if (age == 1) return localizedText("history.day.yesterday");
  if (age > 1 && age < 7) return locale.standaloneDayName(day.dayOfWeek());
  return locale.toString(day, QLocale::LongFormat);
}

QString clockText(double seconds) {
  const auto whole = qint64(std::max(0.0, seconds));
  const auto two = [](qint64 number) { return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0')); };
  if (whole < 3600) return QString::number(whole / 60) + u':' + two(whole % 60);
  return QString::number(whole / 3600) + u':' + two(whole / 60 % 60) + u':' + two(whole % 60);
}

QString durationText(double seconds) {
  const double rounded = std::round(std::max(0.0, seconds));
  if (rounded < 60) return QString::number(qint64(rounded)) + QStringLiteral("\u00A0s");
  return clockText(rounded) + (rounded < 3600 ? QStringLiteral("\u00A0min") : QStringLiteral("\u00A0h"));
}

QString shownText(const Transcript& transcript) {
  if (transcript.postProcessedText && !transcript.postProcessedText->isEmpty()) return *transcript.postProcessedText;
  return transcript.text.value_or(QString());
}

bool hasFailed(const Transcript& transcript) {
  const QString text = transcript.text.value_or(QString());
  return transcript.status == QStringLiteral("failed") || !transcript.failedReason.value_or(QString()).isEmpty() ||
         text.startsWith(QLatin1String("Transcription failed:")) || text.startsWith(QLatin1String("Retry failed:"));
}

bool wasDiscarded(const Transcript& transcript) {
  return transcript.status.value_or(QString()) == TranscriptStatus::discarded;
}

int hoursLeft(const Transcript& transcript, const QDateTime& now) {
  constexpr qint64 hour = 3600;
  const qint64 age = transcript.date ? transcript.date->secsTo(now) : 0;
  return int((std::max<qint64>(discardedLifetimeSeconds - age, 1) + hour - 1) / hour);
}

QString failureText(const Transcript& transcript) {
  const QString reason = transcript.failedReason.value_or(QString());
  QString text = withoutMark(reason.isEmpty() ? transcript.text.value_or(QString()) : reason);
  return text.isEmpty() ? localizedText("history.failed.unknown") : text;
}

}  // namespace quillmere
