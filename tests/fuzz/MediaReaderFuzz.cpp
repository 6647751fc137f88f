// Any bytes as a media file: opened, measured, decoded and resampled for as long as they give something.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

#include "platform/ffmpeg/FfmpegAudioResamplerFactory.h"
#include "platform/ffmpeg/FfmpegMediaReaderFactory.h"

namespace {

using namespace quillmere;

constexpr qint64 mostFrames = 1 << 20;  // a few bytes can stand for hours of silence
constexpr qint64 framesPerRead = 4096;

void readAll(FfmpegMediaReaderFactory& readers, FfmpegAudioResamplerFactory& resamplers, const QString& path,
             MediaReaderFactory::Output output) {
  auto reader = readers.open(path, output);
  if (!reader) return;
  static_cast<void>((*reader)->nominalFrames());
  std::unique_ptr<AudioResampler> resampler;
  AudioStreamFormat format;
  std::vector<float> samples;
  for (qint64 total = 0; total < mostFrames;) {
    const auto block = (*reader)->read(framesPerRead);
    if (!block || block->frameCount == 0) return;
    if (block->frameCount > framesPerRead) std::abort();
    total += block->frameCount;
    if (!resampler || block->format != format) {
      auto made = resamplers.create(block->format, 16000);
      if (!made) return;
      resampler = std::move(made).value();
      format = block->format;
    }
    samples.resize(size_t(resampler->outputBound(block->frameCount)));
    const auto written = resampler->convert(*block, samples);
    if (written && *written > qint64(samples.size())) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const FfmpegLog log{Logging()};
  FfmpegMediaReaderFactory readers(log);
  FfmpegAudioResamplerFactory resamplers(log);
  const int file = ::memfd_create("media", MFD_CLOEXEC);
  if (file < 0 || ::write(file, data, size) != ssize_t(size)) std::abort();
  const QString path = QString("/proc/self/fd/%1").arg(file);
  const std::atomic<bool> stop{false};
  static_cast<void>(readers.durationSeconds(path, stop));
  readAll(readers, resamplers, path, MediaReaderFactory::Output::native);
  readAll(readers, resamplers, path, MediaReaderFactory::Output::signed16Interleaved);
  ::close(file);
  return 0;
}
