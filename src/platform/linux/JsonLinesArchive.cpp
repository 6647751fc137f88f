#include "platform/linux/JsonLinesArchive.h"

#include <sys/stat.h>

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <set>

#include "platform/linux/JsonLinesLog.h"
#include "platform/linux/SharedRotatingFileSink.h"

namespace quillmere {
namespace {

// Two processes may write their lines in another order than they took their times.
constexpr qint64 disorderMs = 2000;

PlatformError readError(const QFile& file) {
  return {QStringLiteral("filesystem"), int(file.error()), file.errorString()};
}

QStringList readable(const QJsonObject& record, const QDateTime& time) {
  const QString head = QStringLiteral("%1 %2 %3[%4:%5] [%6:%7] ")
                           .arg(time.toString(Qt::ISODateWithMs), record.value(u"level").toString().leftJustified(7),
                                record.value(u"process").toString(), QString::number(record.value(u"pid").toInteger()),
                                QString::number(record.value(u"thread").toInteger()),
                                record.value(u"subsystem").toString(), record.value(u"category").toString());
  return (head + record.value(u"message").toString()).split(u'\n');
}

}  // namespace

Result<QStringList, PlatformError> JsonLinesArchive::recentLines(const QDateTime& since, int maxLines) const {
  QStringList newestFirst;
  std::set<ino_t> seen;
  for (int age = 0; newestFirst.size() < maxLines; ++age) {
    QFile file(SharedRotatingFileSink::filePath(folder_, QString::fromLatin1(JsonLinesLog::baseName), age));
    if (!file.exists()) {
      // Between the two steps of a rotation the newest name is free for an instant.
      if (age == 0) continue;
      break;
    }
    if (!file.open(QIODevice::ReadOnly)) return Failed{readError(file)};
    // A rotation meanwhile would show the same file again under its next name.
    struct stat status {};
    if (::fstat(file.handle(), &status) != 0 || !seen.insert(status.st_ino).second) continue;
    const QByteArray content = file.readAll();
    if (file.error() != QFile::NoError) return Failed{readError(file)};
    qsizetype end = content.size();
    while (end > 0 && newestFirst.size() < maxLines) {
      const qsizetype begin = end >= 2 ? content.lastIndexOf('\n', end - 2) + 1 : 0;
      const QJsonObject record = QJsonDocument::fromJson(content.sliced(begin, end - begin)).object();
      end = begin;
      const QDateTime time = QDateTime::fromString(record.value(u"time").toString(), Qt::ISODateWithMs);
      if (!time.isValid() || time < since) {
        if (time.isValid() && time.msecsTo(since) > disorderMs)
          return QStringList(newestFirst.rbegin(), newestFirst.rend());
        continue;
      }
      const QStringList lines = readable(record, time);
      for (auto line = lines.rbegin(); line != lines.rend() && newestFirst.size() < maxLines; ++line)
        newestFirst += *line;
    }
  }
  return QStringList(newestFirst.rbegin(), newestFirst.rend());
}

}  // namespace quillmere
