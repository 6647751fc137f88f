#include "platform/sndfile/PlainWaveReader.h"

#include <fcntl.h>
#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <QtEndian>
#include <algorithm>

namespace quillmere {
namespace {

// Programs that write into a pipe state some length about as large as this.
constexpr quint32 leastUnknownLength = 0x7fff'0000;

// The length of the samples in bytes as the header states it, 0 where it doesn't.
qint64 statedBytes(int descriptor) {
  qint64 at = 12;
  for (int chunks = 0; chunks < 100; ++chunks) {
    char head[8] = {};
    if (::pread(descriptor, head, sizeof head, at) != sizeof head) return 0;
    const auto size = qFromLittleEndian<quint32>(head + 4);
    if (std::equal(head, head + 4, "data")) return size < leastUnknownLength ? size : 0;
    at += 8 + qint64(size) + size % 2;
  }
  return 0;
}

}  // namespace

std::unique_ptr<PlainWaveReader> PlainWaveReader::open(const QString& path) {
  // Without O_NONBLOCK a named pipe would wait for its writer.
  const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return nullptr;
  struct stat status {};
  char magic[4] = {};
  const bool mayBeWave = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
                         ::pread(descriptor, magic, sizeof magic, 0) == sizeof magic &&
                         std::equal(magic, magic + 4, "RIFF");
  const qint64 stated = mayBeWave ? statedBytes(descriptor) : 0;
  SF_INFO info{};
  SNDFILE* file = mayBeWave ? sf_open_fd(descriptor, SFM_READ, &info, SF_TRUE) : nullptr;
  if (!file) {
    ::close(descriptor);
    return nullptr;
  }
  const int kind = info.format & SF_FORMAT_TYPEMASK;
  const bool isPlain = (kind == SF_FORMAT_WAV || kind == SF_FORMAT_WAVEX) &&
                       (info.format & SF_FORMAT_SUBMASK) == SF_FORMAT_PCM_16 && info.channels == 1 &&
                       info.samplerate == int(sampleRate) && info.frames > 0;
  if (!isPlain) {
    sf_close(file);
    return nullptr;
  }
  return std::unique_ptr<PlainWaveReader>(new PlainWaveReader(file, info.frames, stated / 2));
}

PlainWaveReader::~PlainWaveReader() {
  sf_close(file_);
}

Result<double, MediaError> PlainWaveReader::durationSeconds() const {
  if (double(statedFrames_ - frames_) > 0.5 * sampleRate)
    return Failed{MediaError{MediaError::Kind::incomplete, 0, QStringLiteral("The file holds less than it states")}};
  return double(frames_) / sampleRate;
}

Result<AudioBlock, MediaError> PlainWaveReader::read(qint64 maxFrames) {
  const qint64 most = std::min(maxFrames, frames_ - position_);
  if (most <= 0) return AudioBlock{};
  samples_.resize(size_t(most));
  const sf_count_t count = sf_readf_short(file_, samples_.data(), most);
  if (count < most) {
    position_ = frames_;
    return Failed{MediaError{MediaError::Kind::incomplete, sf_error(file_), QString::fromUtf8(sf_strerror(file_))}};
  }
  position_ += count;
  plane_ = reinterpret_cast<const std::byte*>(samples_.data());
  return AudioBlock{format(), {&plane_, 1}, count};
}

bool PlainWaveReader::seek(qint64 frame) {
  if (sf_seek(file_, frame, SF_SEEK_SET) != frame) return false;
  position_ = frame;
  return true;
}

}  // namespace quillmere
