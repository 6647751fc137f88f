#include "models/HashingFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "base/text/LocalizedText.h"
#include "models/DiskSpace.h"

namespace quillmere {
namespace {

constexpr qint64 kHashChunkBytes = 4'194'304;
const QString kHiddenPrefix = QStringLiteral(".import-");

// A living process holds a lock on its hidden file.
void removeAbandoned(const QDir& folder) {
  const QStringList names = folder.entryList({kHiddenPrefix + QStringLiteral("*")}, QDir::Files | QDir::Hidden);
  for (const QString& name : names) {
    const QByteArray path = QFile::encodeName(folder.filePath(name));
    const int descriptor = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) continue;
    if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0) ::unlink(path.constData());
    ::close(descriptor);
  }
}

}  // namespace

HashingFile::~HashingFile() {
  if (!path_.isEmpty()) ::unlink(QFile::encodeName(path_).constData());
  if (descriptor_ >= 0) ::close(descriptor_);
}

PlatformError HashingFile::failure(int number) const {
  QString text = isOutOfSpace(number)
                     ? localizedText("models.import.error.diskFull", folder_)
                     : localizedText("models.import.error.notWritten", folder_, qt_error_string(number));
  return {QStringLiteral("filesystem"), number, std::move(text)};
}

Result<void, PlatformError> HashingFile::create() {
  if (!QDir().mkpath(folder_)) return Failed{failure(errno != 0 ? errno : EACCES)};
  const QDir folder(folder_);
  removeAbandoned(folder);
  QByteArray path = QFile::encodeName(folder.filePath(kHiddenPrefix + QStringLiteral("XXXXXX")));
  descriptor_ = ::mkostemp(path.data(), O_CLOEXEC);
  if (descriptor_ < 0) return Failed{failure(errno)};
  path_ = QFile::decodeName(path);
  ::flock(descriptor_, LOCK_EX | LOCK_NB);
  return {};
}

bool HashingFile::write(const char* data, qint64 bytes) {
  if (error_.code != 0) return false;
  hash_.addData(QByteArrayView(data, bytes));
  while (bytes > 0) {
    const ssize_t written = ::write(descriptor_, data, static_cast<std::size_t>(bytes));
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) {
      error_ = failure(errno);
      return false;
    }
    data += written;
    bytes -= written;
  }
  return true;
}

QString HashingFile::sha256() const {
  return QString::fromLatin1(hash_.result().toHex());
}

Result<void, PlatformError> HashingFile::moveTo(const QString& destination, bool mustBeNew) {
  // Temporary files are born private; a model is like any other file of the user's.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  ::fchmod(descriptor_, 0666 & ~mask);
  if (::fsync(descriptor_) != 0) return Failed{failure(errno)};
  const QByteArray from = QFile::encodeName(path_);
  const QByteArray to = QFile::encodeName(destination);
  int code = ::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), mustBeNew ? RENAME_NOREPLACE : 0);
  if (code != 0 && mustBeNew && errno == EINVAL) {  // a file system without that flag
    code = ::link(from.constData(), to.constData());
    if (code == 0) ::unlink(from.constData());
  }
  if (code != 0) return Failed{failure(errno)};
  path_.clear();
  syncFolder(folder_);
  return {};
}

Result<QString, PlatformError> HashingFile::sha256Of(const QString& path, const std::atomic<bool>& stop) {
  QFile file(path);
  QCryptographicHash hash(QCryptographicHash::Sha256);
  const auto failure = [&file] { return PlatformError{QStringLiteral("filesystem"), EIO, file.errorString()}; };
  if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) return Failed{failure()};
  QByteArray chunk(kHashChunkBytes, Qt::Uninitialized);
  for (;;) {
    const qint64 count = stop.load() ? 0 : file.read(chunk.data(), chunk.size());
    if (count < 0) return Failed{failure()};
    if (count == 0) break;
    hash.addData(QByteArrayView(chunk.constData(), count));
  }
  return QString::fromLatin1(hash.result().toHex());
}

void HashingFile::syncFolder(const QString& path) {
  const int folder = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return;
  (void)::fsync(folder);
  ::close(folder);
}

}  // namespace quillmere
