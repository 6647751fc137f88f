#include "storage/AbsentDisk.h"

#include <sys/stat.h>

#include <QFile>
#include <QFileInfo>
#include <optional>

namespace quillmere {
namespace {

std::optional<dev_t> deviceOf(const QString& path) {
  struct stat status {};
  if (::stat(QFile::encodeName(path).constData(), &status) != 0) return std::nullopt;
  return status.st_dev;
}

}  // namespace

bool isOnAbsentDisk(const QString& path, const QStringList& places) {
  if (QFileInfo::exists(path)) return false;
  for (const QString& place : places) {
    if (!path.startsWith(place + u'/')) continue;
    QString above = path;
    while (above != place && !QFileInfo::exists(above)) above = above.left(above.lastIndexOf(u'/'));
    return deviceOf(above) == deviceOf(place);
  }
  return false;
}

}  // namespace quillmere
