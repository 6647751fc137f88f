#include "files/FileCopier.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <cerrno>
#include <cstring>
#include <vector>

namespace quillmere {
namespace {

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() { close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }
  bool isOpen() const { return fd_ >= 0; }
  int close() {
    const int result = fd_ >= 0 ? ::close(fd_) : 0;
    fd_ = -1;
    return result;
  }

 private:
  int fd_;
};

PlatformError systemError(int number) {
  return PlatformError{QStringLiteral("filesystem"), number, QString::fromLocal8Bit(std::strerror(number))};
}

bool writeAll(int fd, const char* data, size_t size) {
  while (size > 0) {
    const ssize_t written = ::write(fd, data, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    data += written;
    size -= size_t(written);
  }
  return true;
}

}  // namespace

Result<void, PlatformError> copyFile(const std::filesystem::path& from, const QString& to,
                                     const std::atomic<bool>& stop) {
  Descriptor source(::open(from.c_str(), O_RDONLY | O_CLOEXEC));
  if (!source.isOpen()) return Failed{systemError(errno)};
  const QByteArray target = QFile::encodeName(to);
  Descriptor copy(::open(target.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!copy.isOpen()) return Failed{systemError(errno)};

  const auto giveUp = [&](int number) {
    copy.close();
    ::unlink(target.constData());
    return Failed{systemError(number)};
  };
  std::vector<char> chunk(1 << 20);
  for (;;) {
    if (stop.load(std::memory_order_relaxed)) return giveUp(ECANCELED);
    const ssize_t count = ::read(source.get(), chunk.data(), chunk.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return giveUp(errno);
    if (count == 0) break;
    if (!writeAll(copy.get(), chunk.data(), size_t(count))) return giveUp(errno ? errno : EIO);
  }
  if (::fdatasync(copy.get()) != 0 && errno != EINVAL) return giveUp(errno);
  if (copy.close() != 0) return giveUp(errno);
  return {};
}

}  // namespace quillmere
