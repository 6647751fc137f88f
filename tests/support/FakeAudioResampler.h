#pragma once
#include <cstring>
#include <vector>

#include "ports/AudioResampler.h"

namespace quillmere {

// Takes the mean of the channels and the nearest earlier frame. Holds the last frame written back until the end, as a
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
      for (qint64 at = qint64(double(frames_) * ratio_); at < qint64(double(frames_ + 1) * ratio_); ++at) {
        if (held_) output[size_t(written++)] = *held_;
        held_ = sampleAt(block, i);
      }
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
    float sum = 0;
    for (qint64 at = frame * source_.channelCount; at < (frame + 1) * source_.channelCount; ++at) {
      if (source_.kind == AudioStreamFormat::SampleKind::float32)
        sum += valueAt<float>(block.planes[0], at);
      else
        sum += float(valueAt<std::int16_t>(block.planes[0], at)) / 32767;
    }
    return sum / float(source_.channelCount);
  }
  template <typename T>
  static T valueAt(const std::byte* plane, qint64 index) {
    T value{};
    std::memcpy(&value, plane + index * qint64(sizeof value), sizeof value);
    return value;
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
    if (!canMake || source.sampleRate <= 0 || source.channelCount <= 0)
      return Failed{PlatformError{"fake", 1, "cannot"}};
    made.push_back(source);
    auto resampler = std::make_unique<FakeAudioResampler>(source, targetSampleRate);
    resampler->failure = convertFailure;
    return std::unique_ptr<AudioResampler>(std::move(resampler));
  }
};

}  // namespace quillmere
