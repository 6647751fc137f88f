#include "platform/ffmpeg/LocalFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <QFile>
#include <cerrno>

namespace quillmere::ffmpeg {
namespace {
constexpr int bufferBytes = 64 * 1024;
}

Result<std::unique_ptr<LocalFile>, MediaError> LocalFile::open(const QString& path) {
  using Kind = MediaError::Kind;
  // Not blocking: a named pipe must not hold the caller until somebody writes to it.
  const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return Failed{mediaError(Kind::cannotOpen, AVERROR(errno))};
  struct stat status = {};
  const int statError = ::fstat(descriptor, &status) < 0 ? errno : 0;
  std::unique_ptr<LocalFile> file(new LocalFile(descriptor, status.st_size));
  if (statError != 0) return Failed{mediaError(Kind::cannotOpen, AVERROR(statError))};
  if (S_ISDIR(status.st_mode)) return Failed{mediaError(Kind::cannotOpen, AVERROR(EISDIR))};
  if (!S_ISREG(status.st_mode))
    return Failed{MediaError{Kind::cannotOpen, AVERROR(EINVAL), QStringLiteral("Not a regular file")}};
  if (status.st_size == 0)
    return Failed{MediaError{Kind::cannotOpen, AVERROR_INVALIDDATA, QStringLiteral("The file is empty")}};

  auto* buffer = static_cast<unsigned char*>(av_malloc(bufferBytes));
  if (buffer)
    file->io_ = avio_alloc_context(buffer, bufferBytes, 0, file.get(), &LocalFile::read, nullptr, &LocalFile::seek);
  if (!file->io_) {
    av_free(buffer);
    return Failed{mediaError(Kind::cannotOpen, AVERROR(ENOMEM))};
  }
  return file;
}

LocalFile::~LocalFile() {
  if (io_) {
    av_freep(&io_->buffer);
    avio_context_free(&io_);
  }
  ::close(descriptor_);
}

int LocalFile::read(void* self, uint8_t* buffer, int size) {
  const int descriptor = static_cast<LocalFile*>(self)->descriptor_;
  for (;;) {
    const ssize_t count = ::read(descriptor, buffer, size_t(size));
    if (count > 0) return int(count);
    if (count == 0) return AVERROR_EOF;
    if (errno != EINTR) return AVERROR(errno);
  }
}

int64_t LocalFile::seek(void* self, int64_t offset, int whence) {
  const auto* file = static_cast<LocalFile*>(self);
  if (whence & AVSEEK_SIZE) return file->sizeBytes_;
  const off_t position = ::lseek(file->descriptor_, offset, whence & ~AVSEEK_FORCE);
  return position < 0 ? AVERROR(errno) : position;
}

}  // namespace quillmere::ffmpeg
