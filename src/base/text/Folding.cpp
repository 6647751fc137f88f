#include "base/text/Folding.h"

namespace quillmere {

bool equalsIgnoringCase(const QString& a, const QString& b) {
  return caseFolded(a) == caseFolded(b);
}

bool containsIgnoringCase(const QString& text, const QString& part) {
  return caseFolded(text).contains(caseFolded(part));
}

QString caseFolded(const QString& text) {
  QString folded = text.toCaseFolded();
  // Qt folds one character to one; these two letters need more.
  folded.replace(QChar(0x00df), QStringLiteral("ss"));
  folded.replace(QChar(0x1e9e), QStringLiteral("ss"));
  return folded;
}

QString foldedForSearch(const QString& text) {
  const QString decomposed = text.normalized(QString::NormalizationForm_KD);
  QString bare;
  bare.reserve(decomposed.size());
  for (const QChar unit : decomposed)
    if (unit.category() != QChar::Mark_NonSpacing) bare += unit;
  return caseFolded(bare).normalized(QString::NormalizationForm_C);
}

}  // namespace quillmere
