#include "storage/PrivateFolder.h"

#include <sys/stat.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>

namespace quillmere {

bool makePrivateFolder(const QString& path) {
  const QString whole = QDir::cleanPath(path);
  if (::mkdir(QFile::encodeName(whole).constData(), S_IRWXU) == 0) return true;
  if (errno == EEXIST) {
    if (QFileInfo(whole).isDir()) return true;
    errno = ENOTDIR;
    return false;
  }
  const QString above = QFileInfo(whole).path();
  if (errno != ENOENT || above == whole || !makePrivateFolder(above)) return false;
  return ::mkdir(QFile::encodeName(whole).constData(), S_IRWXU) == 0 || errno == EEXIST;
}

}  // namespace quillmere
