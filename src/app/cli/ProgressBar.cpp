#include "app/cli/ProgressBar.h"

#include <algorithm>

#include "base/text/Graphemes.h"

namespace quillmere {

QString progressLine(const QString& label, double share, const QString& note, int columns) {
  const int room = std::max(20, columns - 1);
  QString tail;
  if (share >= 0) {
    const int barWidth = std::clamp(room / 4, 8, 30);
    const double held = std::clamp(share, 0.0, 1.0);
    const int filled = int(held * barWidth);
    tail = QStringLiteral("  [%1%2] %3 %")
               .arg(QString(filled, u'#'), QString(barWidth - filled, QChar(u'·')))
               .arg(int(held * 100), 3);
  }
  if (!note.isEmpty()) tail += QStringLiteral("  ") + note;
  const int forLabel = std::max(6, room - graphemeCount(tail));
  QString name = label;
  const int length = graphemeCount(name);
  if (length > forLabel) {
    const int half = (forLabel - 1) / 2;
    name = leftGraphemes(name, half) + QChar(u'…') + rightGraphemes(name, forLabel - 1 - half);
  }
  return name + tail;
}

}  // namespace quillmere
