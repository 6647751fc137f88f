#include "platform/pulse/RecordingFile.h"

#include <fcntl.h>
#include <pthread.h>
#include <sndfile.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstring>

namespace quillmere {
namespace {

constexpr int sampleRate = 16000;
// At most so much goes into one write, however long the disk kept us waiting.
constexpr size_t framesPerWrite = sampleRate / 20;

Failed<PlatformError> fileError(int code) {
  return Failed{PlatformError{QStringLiteral("filesystem"), code, QString::fromLocal8Bit(std::strerror(code))}};
}

// A new file for its owner only; -1 with errno.
int create(const QString& path) {
  return ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
}

SNDFILE* wavOver(int descriptor, int mode) {
  SF_INFO info{};
  if (mode == SFM_WRITE) {
    info.samplerate = sampleRate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE;
  }
  SNDFILE* const file = sf_open_fd(descriptor, mode, &info, SF_FALSE);
  if (!file) return nullptr;
  sf_command(file, SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
  if (mode == SFM_RDWR) sf_seek(file, 0, SEEK_END);
  return file;
}

bool copyAll(int from, int to) {
  struct stat status {};
  if (::fstat(from, &status) != 0) return false;
  off_t offset = 0;
  while (offset < status.st_size) {
    const ssize_t copied = ::sendfile(to, from, &offset, size_t(status.st_size - offset));
    if (copied < 0 && errno == EINTR) continue;
    if (copied <= 0) return false;
  }
  return true;
}

}  // namespace

RecordingFile::RecordingFile(QString path, Callbacks callbacks)
    : path_(std::move(path)), callbacks_(std::move(callbacks)), thread_([this] { run(); }) {}

RecordingFile::~RecordingFile() {
  completeAndWait();
}

void RecordingFile::append(std::span<const std::int16_t> samples) {
  {
    const std::lock_guard lock(mutex_);
    if (isCompleting_) return;
    waiting_.insert(waiting_.end(), samples.begin(), samples.end());
  }
  changed_.notify_one();
}

void RecordingFile::complete() {
  {
    const std::lock_guard lock(mutex_);
    isCompleting_ = true;
  }
  changed_.notify_one();
}

void RecordingFile::completeAndWait() {
  complete();
  if (thread_.joinable()) thread_.join();
}

void RecordingFile::discard() {
  isDiscarded_ = true;
  complete();
}

void RecordingFile::run() {
  ::pthread_setname_np(::pthread_self(), "recording");
  const Result<void, PlatformError> opened = open();
  bool isUsable = opened.hasValue();
  callbacks_.opened(opened);
  std::vector<std::int16_t> block;
  for (bool isLast = false; !isLast;) {
    block.clear();
    {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [this] { return isCompleting_ || !waiting_.empty(); });
      block.swap(waiting_);
      isLast = isCompleting_;
    }
    std::span<const std::int16_t> left = block;
    while (isUsable && !left.empty()) {
      const auto piece = left.first(std::min(left.size(), framesPerWrite));
      left = left.subspan(piece.size());
      if (const auto written = write(piece); !written) {
        isUsable = false;
        close();
        callbacks_.failed(written.error());
      }
    }
  }
  if (isUsable && isDiscarded_) {
    close();
    ::unlink(QFile::encodeName(path_).constData());
  } else if (isUsable) {
    if (const auto restored = restorePlace(); !restored) callbacks_.failed(restored.error());
    close();
  }
  callbacks_.completed();
}

Result<void, PlatformError> RecordingFile::open() {
  descriptor_ = create(path_);
  if (descriptor_ < 0) return fileError(errno);
  errno = 0;
  file_ = wavOver(descriptor_, SFM_WRITE);
  // The library writes the header without looking; a full disk shows here.
  struct stat status {};
  if (file_) sf_write_sync(file_);
  if (file_ && ::fstat(descriptor_, &status) == 0 && status.st_size > 0) return {};
  const int code = errno ? errno : ENOSPC;
  close();
  ::unlink(QFile::encodeName(path_).constData());
  return fileError(code);
}

Result<void, PlatformError> RecordingFile::write(std::span<const std::int16_t> samples) {
  framesSinceCheck_ += std::int64_t(samples.size());
  if (framesSinceCheck_ >= sampleRate) {
    framesSinceCheck_ = 0;
    TRY_OK(restorePlace());
  }
  errno = 0;
  const auto count = sf_count_t(samples.size());
  if (sf_writef_short(file_, samples.data(), count) == count) return {};
  const int code = errno ? errno : EIO;
  struct stat status {};
  // Half a sample may have found room.
  if (::fstat(descriptor_, &status) == 0 && status.st_size % 2 != 0) [[maybe_unused]]
    const int cut = ::ftruncate(descriptor_, status.st_size - 1);
  return fileError(code);
}

Result<void, PlatformError> RecordingFile::restorePlace() {
  if (::access(QFile::encodeName(path_).constData(), F_OK) == 0) return {};
  QDir().mkpath(QFileInfo(path_).path());
  const int descriptor = create(path_);
  if (descriptor < 0) return fileError(errno);
  const bool isCopied = copyAll(descriptor_, descriptor) && ::lseek(descriptor, 0, SEEK_SET) == 0;
  SNDFILE* const file = isCopied ? wavOver(descriptor, SFM_RDWR) : nullptr;
  if (!file) {
    const int code = errno ? errno : EIO;
    ::close(descriptor);
    ::unlink(QFile::encodeName(path_).constData());
    return fileError(code);
  }
  close();
  file_ = file;
  descriptor_ = descriptor;
  return {};
}

void RecordingFile::close() {
  if (file_) sf_close(std::exchange(file_, nullptr));
  if (descriptor_ >= 0) ::close(std::exchange(descriptor_, -1));
}

}  // namespace quillmere
