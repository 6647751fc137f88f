#include "base/text/Graphemes.h"

#include <QTextBoundaryFinder>
#include <algorithm>

namespace quillmere {
namespace {

// Position in UTF-16 units after the n-th character from `start`; the text's length when there are fewer.
qsizetype positionAfter(const QString& text, qsizetype start, int n) {
  if (n <= 0) return start;
  // No character is shorter than one unit.
  if (n >= text.size() - start) return text.size();
  QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
  finder.setPosition(start);
  for (int i = 0; i < n; ++i)
    if (finder.toNextBoundary() < 0) return text.size();
  return finder.position();
}

}  // namespace

int graphemeCount(const QString& text) {
  QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
  int count = 0;
  while (finder.toNextBoundary() >= 0) ++count;
  return count;
}

QString leftGraphemes(const QString& text, int n) {
  return text.left(positionAfter(text, 0, n));
}

QString rightGraphemes(const QString& text, int n) {
  if (n <= 0) return {};
  return sliceGraphemes(text, std::max(0, graphemeCount(text) - n));
}

QString sliceGraphemes(const QString& text, int from, int n) {
  if (from < 0) {
    if (n >= 0) n = std::max(0, n + from);
    from = 0;
  }
  const qsizetype start = positionAfter(text, 0, from);
  if (n < 0) return text.mid(start);
  return text.mid(start, positionAfter(text, start, n) - start);
}

QString trimmedText(const QString& text) {
  return text.trimmed();
}

QStringList graphemes(const QString& text) {
  QStringList list;
  QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
  qsizetype start = 0;
  for (qsizetype end = finder.toNextBoundary(); end >= 0; end = finder.toNextBoundary()) {
    list.append(text.mid(start, end - start));
    start = end;
  }
  return list;
}

}  // namespace quillmere
