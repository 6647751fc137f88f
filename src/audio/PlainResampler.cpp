#include "audio/PlainResampler.h"

#include <cstring>

namespace quillmere {

using SampleKind = AudioStreamFormat::SampleKind;

std::unique_ptr<PlainResampler> PlainResampler::create(const AudioStreamFormat& source, double targetSampleRate) {
  const bool isKnown = source.kind == SampleKind::signed16 || source.kind == SampleKind::float32;
  if (source.channelCount != 1 || source.sampleRate != targetSampleRate || !isKnown) return nullptr;
  return std::make_unique<PlainResampler>();
}

Result<qint64, PlatformError> PlainResampler::convert(const AudioBlock& block, std::span<float> output) {
  const std::byte* from = block.planes[0];
  if (block.format.kind == SampleKind::float32) {
    std::memcpy(output.data(), from, size_t(block.frameCount) * sizeof(float));
    return block.frameCount;
  }
  for (qint64 i = 0; i < block.frameCount; ++i) {
    std::int16_t sample = 0;
    std::memcpy(&sample, from + i * qint64(sizeof sample), sizeof sample);
    output[size_t(i)] = float(sample) / 32768.f;
  }
  return block.frameCount;
}

}  // namespace quillmere
