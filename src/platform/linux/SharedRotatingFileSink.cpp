#include "platform/linux/SharedRotatingFileSink.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <cerrno>
#include <chrono>
#include <cstring>

namespace quillmere {
namespace {

qint64 steadyMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

// Makes the folder and its missing parents, for this user only. 0 or errno.
int makePrivateFolder(const QString& folder) {
  const QByteArray path = QFile::encodeName(QDir::cleanPath(folder));
  for (qsizetype at = 1; at <= path.size(); ++at) {
    if (at < path.size() && path[at] != '/') continue;
    if (::mkdir(path.left(at).constData(), 0700) != 0 && errno != EEXIST) {
      // A parent that can't be made matters only if it isn't there, which the last mkdir finds out.
      if (at == path.size()) return errno;
    }
  }
  return 0;
}

}  // namespace

SharedRotatingFileSink::SharedRotatingFileSink(Options options)
    : options_(std::move(options)), path_(QFile::encodeName(filePath(options_.folder, options_.baseName, 0))) {}

SharedRotatingFileSink::~SharedRotatingFileSink() {
  close();
}

QString SharedRotatingFileSink::filePath(const QString& folder, const QString& baseName, int age) {
  const QString stem = folder + u'/' + baseName;
  return age == 0 ? stem + QStringLiteral(".log") : stem + u'.' + QString::number(age) + QStringLiteral(".log");
}

void SharedRotatingFileSink::sink_it_(const spdlog::details::log_msg& message) {
  if (failedAtMs_ && steadyMs() - *failedAtMs_ < options_.retryMs) return;
  spdlog::memory_buf_t line;
  formatter_->format(message, line);
  if (descriptor_ >= 0 && !isCurrent()) close();
  if (descriptor_ < 0 && !open()) return;
  struct stat status {};
  if (::fstat(descriptor_, &status) == 0 && status.st_size > 0 &&
      status.st_size + qint64(line.size()) > options_.maxFileBytes) {
    rotate();
    if (descriptor_ < 0 && !open()) return;
  }
  append(line.data(), line.size());
}

// Whether the open file is still the one that bears the name.
bool SharedRotatingFileSink::isCurrent() const {
  struct stat named {
  }, opened{};
  return ::stat(path_.constData(), &named) == 0 && ::fstat(descriptor_, &opened) == 0 &&
         named.st_ino == opened.st_ino && named.st_dev == opened.st_dev;
}

bool SharedRotatingFileSink::open() {
  const int flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  descriptor_ = ::open(path_.constData(), flags, 0600);
  if (descriptor_ < 0 && errno == ENOENT) {
    if (const int number = makePrivateFolder(options_.folder)) {
      fail("make the log folder", number);
      return false;
    }
    descriptor_ = ::open(path_.constData(), flags, 0600);
  }
  if (descriptor_ < 0) {
    fail("open the log file", errno);
    return false;
  }
  struct stat status {};
  if (::fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) {
    close();
    fail("use the log file", EINVAL);
    return false;
  }
  return true;
}

void SharedRotatingFileSink::close() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
}

void SharedRotatingFileSink::rotate() {
  const QByteArray lockPath = QFile::encodeName(options_.folder + u'/' + options_.baseName + QStringLiteral(".lock"));
  const int lock = ::open(lockPath.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (lock < 0) return;  // goes on in the full file
  // Another process at it: this line still goes into the full file, the next one finds the new one.
  if (::flock(lock, LOCK_EX | LOCK_NB) == 0) {
    if (isCurrent()) {
      for (int age = options_.maxFiles - 1; age > 0; --age) {
        const QByteArray from = QFile::encodeName(filePath(options_.folder, options_.baseName, age - 1));
        const QByteArray to = QFile::encodeName(filePath(options_.folder, options_.baseName, age));
        ::rename(from.constData(), to.constData());  // a missing older file is the usual case
      }
      if (options_.maxFiles <= 1) ::unlink(path_.constData());
    }
    close();
  }
  ::close(lock);
}

void SharedRotatingFileSink::append(const char* bytes, size_t size) {
  std::string whole;
  if (isLineTorn_) {
    whole.assign(1, '\n').append(bytes, size);
    bytes = whole.data();
    size = whole.size();
  }
  ssize_t written = -1;
  do written = ::write(descriptor_, bytes, size);
  while (written < 0 && errno == EINTR);
  if (written == ssize_t(size)) {
    isLineTorn_ = false;
    failedAtMs_.reset();
    return;
  }
  if (written > 0) isLineTorn_ = true;
  fail("write to the log file", written < 0 ? errno : ENOSPC);
}

void SharedRotatingFileSink::fail(const char* what, int number) {
  failedAtMs_ = steadyMs();
  if (hasReportedFailure_) return;
  hasReportedFailure_ = true;
  if (options_.onFailure)
    options_.onFailure(
        QStringLiteral("Can't %1 (%2): %3")
            .arg(QString::fromLatin1(what), QFile::decodeName(path_), QString::fromLocal8Bit(std::strerror(number))));
}

}  // namespace quillmere
