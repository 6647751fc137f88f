#pragma once
#include <memory>
#include <span>

#include "base/Result.h"
#include "domain/Errors.h"
#include "ports/AudioBlock.h"

namespace quillmere {

// Brings decoded audio to mono floats at one rate. Two channels are averaged; more are mixed by their places, with
// weights whose sum is 1, so that a full-scale source never exceeds full scale. One thread at a time, any thread.
class AudioResampler {
 public:
  virtual ~AudioResampler() = default;
  // The most frames that convert() can write for that many of the source, with what it holds back; finish() with 0.
  virtual qint64 outputBound(qint64 sourceFrames) const = 0;
  // Writes to the front of `output`, which has at least outputBound() room, and returns the number of frames written.
  // The block must have the format that the resampler was made for.
  virtual Result<qint64, PlatformError> convert(const AudioBlock& block, std::span<float> output) = 0;
  // What was held back. Once, at the end.
  virtual Result<qint64, PlatformError> finish(std::span<float> output) = 0;
};

class AudioResamplerFactory {
 public:
  virtual ~AudioResamplerFactory() = default;
  // Any thread. Fails for a format that can't be resampled.
  virtual Result<std::unique_ptr<AudioResampler>, PlatformError> create(const AudioStreamFormat& source,
                                                                        double targetSampleRate) = 0;
};

}  // namespace quillmere
