#include "platform/sndfile/SndfileWavWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <QFile>
#include <cerrno>
#include <cstring>

namespace quillmere {
namespace {

Failed<PlatformError> failed(int code, const char* description) {
  return Failed{PlatformError{QStringLiteral("media"), code, QString::fromUtf8(description)}};
}

}  // namespace

Result<std::unique_ptr<WavWriter>, PlatformError> SndfileWavWriter::create(const QString& path, int sampleRate) {
  const QByteArray name = QFile::encodeName(path);
  if (::unlink(name.constData()) != 0 && errno != ENOENT) return failed(errno, std::strerror(errno));
  // What somebody said is for that person alone.
  const int descriptor = ::open(name.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (descriptor < 0) return failed(errno, std::strerror(errno));
  SF_INFO info{};
  info.samplerate = sampleRate;
  info.channels = 1;
  info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE;
  SNDFILE* handle = sf_open_fd(descriptor, SFM_WRITE, &info, SF_TRUE);
  if (!handle) return failed(sf_error(nullptr), sf_strerror(nullptr));
  // Without it full-scale samples wrap around to the other end.
  sf_command(handle, SFC_SET_CLIPPING, nullptr, SF_TRUE);
  return std::unique_ptr<WavWriter>(new SndfileWavWriter(handle));
}

Result<void, PlatformError> SndfileWavWriter::append(std::span<const float> samples) {
  const auto count = static_cast<sf_count_t>(samples.size());
  if (sf_writef_float(handle_.get(), samples.data(), count) == count) return {};
  const int code = sf_error(handle_.get());
  return failed(code, code == SF_ERR_NO_ERROR ? "The file could not be written" : sf_strerror(handle_.get()));
}

Result<void, PlatformError> SndfileWavWriter::finish() {
  sf_write_sync(handle_.get());
  const int code = sf_close(handle_.release());
  if (code != SF_ERR_NO_ERROR) return failed(code, sf_error_number(code));
  return {};
}

}  // namespace quillmere
