#pragma once
#include <cstring>
#include <vector>

#include "ports/AudioResampler.h"

namespace quillmere {

// Takes the first channel and the nearest earlier frame. Holds the last frame written back until the end, as a
// resampler does. Knows 16-bit integers and 32-bit floats.
class FakeAudioResampler final : public AudioResampler {
 public:
  FakeAudioResampler(AudioStreamFormat source, double targetRate)
      : source_(source), ratio_(targetRate / source.sampleRate) {}

  qint64 outputBound(qint64 sourceFrames) const override { return qint64(double(sourceFrames) * ratio_) + 2; }

  Result<qint64, PlatformError> convert(const AudioBlock& block, std::span<float> output) override {
    if (failure) return Failed{*failure};
    qint64 written = 0;
    for (qint64 i = 0; i < block.frameCount; ++i, ++frames_) {
      if (qint64(double(frames_ + 1) * ratio_) == qint64(double(frames_) * ratio_)) continue;
      if (held_) output[size_t(written++)] = *held_;
      held_ = sampleAt(block, i);
    }
    return written;
  }
  Result<qint64, PlatformError> finish(std::span<float> output) override {
    if (!held_) return qint64(0);
    output[0] = *held_;
    return qint64(1);
  }

  std::optional<PlatformError> failure;

 private:
  float sampleAt(const AudioBlock& block, qint64 frame) const {
    const qint64 index = source_.isPlanar ? frame : frame * source_.channelCount;
    if (source_.kind == AudioStreamFormat::SampleKind::float32) {
      float value = 0;
      std::memcpy(&value, block.planes[0] + index * 4, sizeof value);
      return value;
    }
    std::int16_t value = 0;
    std::memcpy(&value, block.planes[0] + index * 2, sizeof value);
    return float(value) / 32767;
  }

  AudioStreamFormat source_;
  double ratio_;
  qint64 frames_ = 0;
  std::optional<float> held_;
};

class FakeAudioResamplerFactory final : public AudioResamplerFactory {
 public:
  std::vector<AudioStreamFormat> made;
  bool canMake = true;
  std::optional<PlatformError> convertFailure;

  Result<std::unique_ptr<AudioResampler>, PlatformError> create(const AudioStreamFormat& source,
                                                                double targetSampleRate) override {
    if (!canMake) return Failed{PlatformError{QStringLiteral("fake"), 1, QStringLiteral("cannot")}};
    made.push_back(source);
    auto resampler = std::make_unique<FakeAudioResampler>(source, targetSampleRate);
    resampler->failure = convertFailure;
    return std::unique_ptr<AudioResampler>(std::move(resampler));
  }
};

}  // namespace quillmere
