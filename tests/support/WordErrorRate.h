#pragma once
#include <QRegularExpression>
#include <QStringList>
#include <algorithm>
#include <vector>

namespace quillmere {

// The words of a text: letters, digits and apostrophes, in lower case.
inline QStringList wordsOf(const QString& text) {
  static const QRegularExpression word("[\\p{L}\\p{N}']+", QRegularExpression::UseUnicodePropertiesOption);
  QStringList words;
  for (auto match = word.globalMatch(text.toLower()); match.hasNext();) words << match.next().captured();
  return words;
}

// Word substitutions, insertions and deletions over the number of expected words.
inline double wordErrorRate(const QStringList& expected, const QStringList& actual) {
  std::vector<int> row(size_t(actual.size()) + 1);
  for (size_t i = 0; i < row.size(); ++i) row[i] = int(i);
  for (qsizetype e = 0; e < expected.size(); ++e) {
    int diagonal = row[0];
    row[0] = int(e) + 1;
    for (qsizetype a = 0; a < actual.size(); ++a) {
      const int above = row[size_t(a) + 1];
      const int change = diagonal + (expected[e] == actual[a] ? 0 : 1);
      row[size_t(a) + 1] = std::min({above + 1, row[size_t(a)] + 1, change});
      diagonal = above;
    }
  }
  return expected.isEmpty() ? 1.0 : double(row.back()) / double(expected.size());
}

inline constexpr const char* clipWords =
    "And so my fellow Americans ask not what your country can do for you ask what you can do for your country";

}  // namespace quillmere
