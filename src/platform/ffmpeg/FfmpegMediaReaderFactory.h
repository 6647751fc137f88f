#pragma once
#include "platform/ffmpeg/FfmpegLog.h"
#include "ports/MediaReader.h"

namespace quillmere {

// Readers over libavformat and libavcodec. Stateless; any thread.
class FfmpegMediaReaderFactory final : public MediaReaderFactory {
 public:
  // The log keeps FFmpeg's messages off standard error; it must outlive the factory.
  explicit FfmpegMediaReaderFactory(const FfmpegLog&) {}

  Result<std::unique_ptr<MediaReader>, MediaError> open(const QString& path, Output output) override;
  Result<double, MediaError> durationSeconds(const QString& path, const std::atomic<bool>& stop) override;
};

}  // namespace quillmere
