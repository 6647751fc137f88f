#pragma once
#include <QDateTime>
#include <QLocale>
#include <QString>
#include <vector>

#include "domain/Entities.h"

namespace quillmere {

// How a transcript reads in the list of the history. Pure.

struct TextRange {
  int start = 0;  // UTF-16 units
  int length = 0;
  bool operator==(const TextRange&) const = default;
};

// Where the words of a search stand in a text, in order and without overlaps: beginnings of words first; where a piece
// begins no word, every place that holds it. Case, accents and width make no difference.
std::vector<TextRange> searchHits(const QString& text, const QString& search);

// The part of a text that shows its first hit, at most about `maximumCharacters` long, cut between words, with "…"
// where something is left out. Line ends become blanks.
struct Excerpt {
  QString text;
  std::vector<TextRange> hits;
  bool operator==(const Excerpt&) const = default;
};
Excerpt excerpt(const QString& text, const QString& search, int maximumCharacters);

// Escaped for rich text, the ranges in <span class="hit">.
QString markedHtml(const QString& text, const std::vector<TextRange>& hits);

// "Today", "Yesterday", a weekday within the last week, else the date.
QString dayHeading(const QDate& day, const QDate& today, const QLocale& locale);
// "6 s", "1:05 min", "1:02:03 h"
QString durationText(double seconds);
// "0:07", "1:02:03"
QString clockText(double seconds);

// The text that counts: rewritten, else as it was recognised.
QString shownText(const Transcript& transcript);
bool hasFailed(const Transcript& transcript);
bool wasDiscarded(const Transcript& transcript);
// Until a recording that was thrown away goes for good; counts what has begun.
int hoursLeft(const Transcript& transcript, const QDateTime& now);
// Why, in the user's words and without the mark that is stored in front of it.
QString failureText(const Transcript& transcript);

}  // namespace quillmere
