#pragma once
#include "platform/ffmpeg/FfmpegLog.h"
#include "ports/MediaEncoder.h"

namespace quillmere {

// AAC in M4A over libavcodec and libavformat. Stateless; any thread.
class FfmpegMediaEncoder final : public MediaEncoder {
 public:
  explicit FfmpegMediaEncoder(const FfmpegLog&) {}
  Result<std::unique_ptr<MediaWriter>, MediaError> openWriter(const QString& path,
                                                              const AacEncoderSettings& settings) override;
  std::unique_ptr<MediaExportSession> createExportSession(const QString& from, const QString& to) override;
  std::unique_ptr<MediaExportSession> createPacketCopy(const QString& from, const QString& to) override;
};

}  // namespace quillmere
