#include "audio/NewFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <cerrno>
#include <utility>

namespace quillmere {
namespace {
constexpr int mostNames = 1000;
}

std::optional<NewFile> NewFile::create(const QString& folder, const QString& stem, const QString& extension) {
  for (int number = 1; number <= mostNames; ++number) {
    const QString name = number == 1 ? stem : stem + QStringLiteral("_%1").arg(number);
    const QString path = folder + u'/' + name + u'.' + extension;
    const int file =
        ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file >= 0) {
      ::close(file);
      return NewFile(path);
    }
    if (errno != EEXIST) return std::nullopt;
  }
  return std::nullopt;
}

NewFile::NewFile(NewFile&& other) noexcept : path_(std::exchange(other.path_, {})) {}

NewFile& NewFile::operator=(NewFile&& other) noexcept {
  std::swap(path_, other.path_);
  return *this;
}

NewFile::~NewFile() {
  if (!path_.isEmpty()) QFile::remove(path_);
}

QString NewFile::keep() {
  return std::exchange(path_, {});
}

}  // namespace quillmere
