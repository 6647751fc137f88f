#include "platform/sndfile/PlainWaveReader.h"

#include <fcntl.h>
#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <algorithm>

namespace quillmere {

std::unique_ptr<PlainWaveReader> PlainWaveReader::open(const QString& path) {
  // Without O_NONBLOCK a named pipe would wait for its writer.
  const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return nullptr;
  struct stat status {};
  char magic[4] = {};
  const bool mayBeWave = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
                         ::pread(descriptor, magic, sizeof magic, 0) == sizeof magic &&
                         std::equal(magic, magic + 4, "RIFF");
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
  return std::unique_ptr<PlainWaveReader>(new PlainWaveReader(file, info.frames));
}

PlainWaveReader::~PlainWaveReader() {
  sf_close(file_);
}

Result<AudioBlock, MediaError> PlainWaveReader::read(qint64 maxFrames) {
  const qint64 most = std::min(maxFrames, frames_);
  samples_.resize(size_t(most));
  const sf_count_t count = sf_readf_short(file_, samples_.data(), most);
  if (count <= 0) return AudioBlock{};
  plane_ = reinterpret_cast<const std::byte*>(samples_.data());
  return AudioBlock{format(), {&plane_, 1}, count};
}

bool PlainWaveReader::seek(qint64 frame) {
  return sf_seek(file_, frame, SF_SEEK_SET) == frame;
}

}  // namespace quillmere
