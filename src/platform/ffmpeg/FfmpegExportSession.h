#pragma once
#include "platform/ffmpeg/FfmpegInput.h"
#include "ports/MediaEncoder.h"

namespace quillmere {

// The other road to an M4A file: packets that it can hold (AAC, mostly) are taken over without decoding. Anything else
// is refused, or encoded from the decoder's own samples with the fast coder, the encoder's own bit rate, at most two
// channels and at most 48 kHz.
class FfmpegExportSession final : public MediaExportSession {
 public:
  enum class Way { any, packetsOnly };

  FfmpegExportSession(QString from, QString to, Way way) : from_(std::move(from)), to_(std::move(to)), way_(way) {}

  Status run(const std::atomic<bool>& stop) override;
  std::optional<MediaError> error() const override { return error_; }

 private:
  Status copyPackets(ffmpeg::FfmpegInput& input, const std::atomic<bool>& stop);
  Status encode(std::unique_ptr<ffmpeg::FfmpegInput> input, const std::atomic<bool>& stop);
  Status fail(MediaError error);

  QString from_;
  QString to_;
  Way way_;
  std::optional<MediaError> error_;
};

}  // namespace quillmere
