#include "platform/ffmpeg/FfmpegMediaEncoder.h"

#include "platform/ffmpeg/FfmpegExportSession.h"
#include "platform/ffmpeg/FfmpegMediaWriter.h"

namespace quillmere {

Result<std::unique_ptr<MediaWriter>, MediaError> FfmpegMediaEncoder::openWriter(const QString& path,
                                                                                const AacEncoderSettings& settings) {
  auto writer = std::make_unique<FfmpegMediaWriter>(path, settings);
  TRY_OK(writer->start());
  return std::unique_ptr<MediaWriter>(std::move(writer));
}

std::unique_ptr<MediaExportSession> FfmpegMediaEncoder::createExportSession(const QString& from, const QString& to) {
  return std::make_unique<FfmpegExportSession>(from, to, FfmpegExportSession::Way::any);
}

std::unique_ptr<MediaExportSession> FfmpegMediaEncoder::createPacketCopy(const QString& from, const QString& to) {
  return std::make_unique<FfmpegExportSession>(from, to, FfmpegExportSession::Way::packetsOnly);
}

}  // namespace quillmere
