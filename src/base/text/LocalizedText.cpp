#include "base/text/LocalizedText.h"

#include <QCoreApplication>

namespace quillmere {

QString localizedTextWith(const QString& key, const QStringList& arguments) {
  const QString text = qtTrId(key.toUtf8().constData());
  QString filled;
  filled.reserve(text.size());
  for (qsizetype i = 0; i < text.size(); ++i) {
    const int number = i + 1 < text.size() && text[i] == u'%' ? text[i + 1].unicode() - u'0' : 0;
    if (number >= 1 && number <= 9 && number <= arguments.size()) {
      filled += arguments[number - 1];
      ++i;
    } else {
      filled += text[i];
    }
  }
  return filled;
}

}  // namespace quillmere
