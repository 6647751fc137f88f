#include "platform/ffmpeg/FfmpegMediaReaderFactory.h"

#include "platform/ffmpeg/FfmpegInput.h"
#include "platform/ffmpeg/FfmpegMediaReader.h"
#include "platform/ffmpeg/FfmpegPcmReader.h"

namespace quillmere {

Result<std::unique_ptr<MediaReader>, MediaError> FfmpegMediaReaderFactory::open(const QString& path, Output output) {
  auto reader = FfmpegMediaReader::open(path);
  if (!reader || output == Output::native) return reader;
  return std::unique_ptr<MediaReader>(std::make_unique<FfmpegPcmReader>(std::move(reader).value()));
}

Result<double, MediaError> FfmpegMediaReaderFactory::durationSeconds(const QString& path,
                                                                     const std::atomic<bool>& stop) {
  TRY(const auto input, ffmpeg::FfmpegInput::open(path));
  return input->measuredSeconds(stop);
}

}  // namespace quillmere
