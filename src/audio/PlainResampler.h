#pragma once
#include "ports/AudioResampler.h"

namespace quillmere {

// For sources that have the target's rate and one channel already: brings 16-bit or float samples to floats, nothing
// more. Threads and errors: see the port.
class PlainResampler final : public AudioResampler {
 public:
  // Null for a source that needs a real resampler.
  static std::unique_ptr<PlainResampler> create(const AudioStreamFormat& source, double targetSampleRate);

  qint64 outputBound(qint64 sourceFrames) const override { return sourceFrames; }
  Result<qint64, PlatformError> convert(const AudioBlock& block, std::span<float> output) override;
  Result<qint64, PlatformError> finish(std::span<float>) override { return qint64(0); }
};

}  // namespace quillmere
