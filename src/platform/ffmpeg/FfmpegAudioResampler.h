#pragma once
#include "platform/ffmpeg/SwrPipe.h"
#include "ports/AudioResampler.h"

namespace quillmere {

class FfmpegAudioResampler final : public AudioResampler {
 public:
  explicit FfmpegAudioResampler(ffmpeg::SwrPipe pipe) : pipe_(std::move(pipe)) {}

  qint64 outputBound(qint64 sourceFrames) const override;
  Result<qint64, PlatformError> convert(const AudioBlock& block, std::span<float> output) override;
  Result<qint64, PlatformError> finish(std::span<float> output) override;

 private:
  Result<qint64, PlatformError> write(const std::byte* const* planes, qint64 frames, std::span<float> output);
  ffmpeg::SwrPipe pipe_;
};

}  // namespace quillmere
