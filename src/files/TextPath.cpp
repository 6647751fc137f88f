#include "files/TextPath.h"

#include <QFile>

namespace quillmere {

Result<TextPath, PlatformError> TextPath::of(const std::filesystem::path& file) {
  TextPath path;
  const QByteArray bytes = QByteArray::fromStdString(file.string());
  path.text_ = QFile::decodeName(bytes);
  if (QFile::encodeName(path.text_) == bytes) return path;
  path.folder_ = std::make_shared<QTemporaryDir>();
  const QString suffix = QString::fromLatin1(QByteArray::fromStdString(file.extension().string())).remove(QChar(u'/'));
  const bool isPlain = suffix.toUtf8().size() == suffix.size();
  path.text_ = path.folder_->filePath(QStringLiteral("input") + (isPlain ? suffix : QString()));
  std::error_code failure;
  std::filesystem::create_symlink(std::filesystem::absolute(file, failure), path.text_.toStdString(), failure);
  if (failure)
    return Failed{
        PlatformError{QStringLiteral("filesystem"), failure.value(), QString::fromStdString(failure.message())}};
  return path;
}

}  // namespace quillmere
