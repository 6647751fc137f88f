#include "platform/ffmpeg/FfmpegAudioResampler.h"

namespace quillmere {

qint64 FfmpegAudioResampler::outputBound(qint64 sourceFrames) const {
  return pipe_.outputBound(int(sourceFrames));
}

Result<qint64, PlatformError> FfmpegAudioResampler::convert(const AudioBlock& block, std::span<float> output) {
  return write(block.planes.data(), block.frameCount, output);
}

Result<qint64, PlatformError> FfmpegAudioResampler::finish(std::span<float> output) {
  return write(nullptr, 0, output);
}

Result<qint64, PlatformError> FfmpegAudioResampler::write(const std::byte* const* planes, qint64 frames,
                                                          std::span<float> output) {
  uint8_t* const out = reinterpret_cast<uint8_t*>(output.data());
  if (output.empty() && frames == 0) return 0;
  const int written = pipe_.convert(&out, int(output.size()), planes, int(frames));
  if (written < 0) return Failed{PlatformError{QStringLiteral("ffmpeg"), written, ffmpeg::errorText(written)}};
  return qint64(written);
}

}  // namespace quillmere
