#pragma once
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace quillmere {

// Writes the file, and makes the folders above it that are missing; gives its path.
inline QString writeFile(const QString& path, const QByteArray& bytes = {}) {
  QDir().mkpath(QFileInfo(path).path());
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
    qFatal("cannot write %s", qPrintable(path));
  return path;
}

// What is in the file; "(missing)" where it can't be read.
inline QByteArray readFile(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
}

}  // namespace quillmere
