#include "models/PartialDownload.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <cerrno>

#include "base/text/LocalizedText.h"
#include "models/DiskSpace.h"
#include "models/HashingFile.h"

namespace quillmere {
namespace {

constexpr qint64 largestRecordBytes = 64 * 1024;

const QString urlKey = QStringLiteral("url");
const QString etagKey = QStringLiteral("etag");
const QString lastModifiedKey = QStringLiteral("lastModified");
const QString totalBytesKey = QStringLiteral("totalBytes");

QString hiddenPath(const QString& directory, const QString& filename, const char* suffix) {
  return directory + QStringLiteral("/.") + filename + QLatin1String(suffix);
}

QString systemMessage(int number) {
  return qt_error_string(number);
}

}  // namespace

QByteArray PartialDownload::Source::validator() const {
  return etag.startsWith('"') ? etag : lastModified;
}

PartialDownload::PartialDownload(const QString& directory, const QString& filename)
    : directory_(directory),
      filename_(filename),
      partPath_(hiddenPath(directory, filename, ".part")),
      recordPath_(hiddenPath(directory, filename, ".part.json")),
      lock_(hiddenPath(directory, filename, ".lock")) {
  lock_.setStaleLockTime(0);  // a download takes hours; only the death of its process frees it
}

PartialDownload::~PartialDownload() {
  close();
  if (lock_.isLocked() && bytes() == 0) remove();
}

PlatformError PartialDownload::error(int number) const {
  const QString text = isOutOfSpace(number)
                           ? localizedText("models.error.diskFull", directory_)
                           : localizedText("models.error.writeFailed", partPath_, systemMessage(number));
  return {QStringLiteral("filesystem"), number, text};
}

Result<void, PlatformError> PartialDownload::lock() {
  if (lock_.tryLock(0)) return {};
  if (lock_.error() == QLockFile::LockFailedError) {
    PlatformError busy{QStringLiteral("filesystem"), EBUSY,
                       localizedText("models.error.alreadyDownloading", filename_)};
    return Failed{busy};
  }
  const int number = lock_.error() == QLockFile::PermissionError ? EACCES : EIO;
  PlatformError failure{QStringLiteral("filesystem"), number,
                        localizedText("models.error.writeFailed", directory_, systemMessage(number))};
  return Failed{failure};
}

std::optional<PartialDownload::Source> PartialDownload::source() const {
  QFile record(recordPath_);
  if (bytes() <= 0 || !record.open(QIODevice::ReadOnly)) return std::nullopt;
  const QJsonDocument document = QJsonDocument::fromJson(record.read(largestRecordBytes));
  if (!document.isObject()) return std::nullopt;
  const QJsonObject object = document.object();
  Source source;
  source.url = object[urlKey].toString();
  source.etag = object[etagKey].toString().toLatin1();
  source.lastModified = object[lastModifiedKey].toString().toLatin1();
  source.totalBytes = object[totalBytesKey].toInteger(-1);
  if (source.url.isEmpty()) return std::nullopt;
  return source;
}

qint64 PartialDownload::bytes() const {
  const QFileInfo info(partPath_);
  return info.isFile() ? info.size() : 0;
}

Result<void, PlatformError> PartialDownload::restart(const Source& source) {
  remove();
  QSaveFile record(recordPath_);
  const QJsonObject object{{urlKey, source.url},
                           {etagKey, QString::fromLatin1(source.etag)},
                           {lastModifiedKey, QString::fromLatin1(source.lastModified)},
                           {totalBytesKey, source.totalBytes}};
  errno = 0;
  if (!record.open(QIODevice::WriteOnly) || record.write(QJsonDocument(object).toJson()) < 0 || !record.commit()) {
    const int number = errno != 0 ? errno : EIO;
    remove();
    return Failed{error(number)};
  }
  if (!open()) {
    const int number = errno;
    remove();
    return Failed{error(number)};
  }
  return {};
}

bool PartialDownload::open() {
  if (descriptor_ >= 0) return true;
  descriptor_ =
      ::open(QFile::encodeName(partPath_).constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0644);
  return descriptor_ >= 0;
}

void PartialDownload::close() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
}

Result<void, PlatformError> PartialDownload::append(const char* data, qint64 size) {
  if (!open()) return Failed{error(errno)};
  while (size > 0) {
    const ssize_t written = ::write(descriptor_, data, static_cast<size_t>(size));
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) {
      const int number = errno;
      if (isOutOfSpace(number)) remove();
      return Failed{error(number)};
    }
    data += written;
    size -= written;
  }
  return {};
}

Result<void, PlatformError> PartialDownload::sync() {
  if (!open() || ::fsync(descriptor_) != 0) {
    const int number = errno;
    if (isOutOfSpace(number)) remove();
    return Failed{error(number)};
  }
  return {};
}

Result<QString, PlatformError> PartialDownload::sha256(const std::atomic<bool>& stop) const {
  return HashingFile::sha256Of(partPath_, stop);
}

Result<void, PlatformError> PartialDownload::moveTo(const QString& destination) {
  close();
  if (::rename(QFile::encodeName(partPath_).constData(), QFile::encodeName(destination).constData()) != 0) {
    const int number = errno;
    PlatformError failure{QStringLiteral("filesystem"), number,
                          localizedText("models.error.writeFailed", destination, systemMessage(number))};
    return Failed{failure};
  }
  HashingFile::syncFolder(directory_);
  QFile::remove(recordPath_);
  return {};
}

void PartialDownload::remove() {
  close();
  QFile::remove(partPath_);
  QFile::remove(recordPath_);
}

}  // namespace quillmere
