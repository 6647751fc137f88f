#include "platform/linux/FileLocks.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>

namespace quillmere {
namespace {

class LockedFile final : public ProcessLocks::Lock {
 public:
  LockedFile(int descriptor, QByteArray path) : descriptor_(descriptor), path_(std::move(path)) {}
  LockedFile(const LockedFile&) = delete;
  LockedFile& operator=(const LockedFile&) = delete;
  ~LockedFile() override {
    ::unlink(path_.constData());
    ::close(descriptor_);
  }

 private:
  const int descriptor_;
  const QByteArray path_;
};

}  // namespace

QByteArray FileLocks::pathOf(const QString& name) const {
  return QFile::encodeName(folder_ + u'/' + name + QStringLiteral(".lock"));
}

std::unique_ptr<ProcessLocks::Lock> FileLocks::take(const QString& name) {
  QDir().mkpath(QFileInfo(folder_).absolutePath());
  QDir().mkdir(folder_, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
  const QByteArray path = pathOf(name);
  for (;;) {
    const int descriptor = ::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (descriptor < 0) return nullptr;
    struct stat status {};
    if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0 || ::fstat(descriptor, &status) != 0) {
      ::close(descriptor);
      return nullptr;
    }
    if (status.st_nlink > 0) return std::make_unique<LockedFile>(descriptor, path);
    ::close(descriptor);  // its holder removed it between the two calls
  }
}

bool FileLocks::isTaken(const QString& name) const {
  const int descriptor = ::open(pathOf(name).constData(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool isTaken = ::flock(descriptor, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
  ::close(descriptor);
  return isTaken;
}

}  // namespace quillmere
