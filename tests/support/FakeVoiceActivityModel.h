#pragma once
#include <functional>

#include "ports/VoiceActivityModel.h"

namespace quillmere {

// Says what it was told to say. One thread at a time.
class FakeVoiceActivityModel final : public VoiceActivityModel {
 public:
  std::optional<PlatformError> loadError;
  std::optional<std::vector<VoiceActivitySegment>> answer = std::vector<VoiceActivitySegment>();
  std::function<void(const std::atomic<bool>& stop)> onSegments;
  int loads = 0;
  int analyses = 0;
  std::size_t seenSamples = 0;
  VoiceActivityParameters seenParameters;

  Result<void, PlatformError> load(const QString&) override {
    ++loads;
    if (loadError) return Failed{*loadError};
    isLoaded_ = true;
    return {};
  }
  bool isLoaded() const override { return isLoaded_; }
  std::optional<std::vector<VoiceActivitySegment>> segments(std::span<const float> samples,
                                                            const VoiceActivityParameters& parameters,
                                                            const std::atomic<bool>& stop) override {
    ++analyses;
    seenSamples = samples.size();
    seenParameters = parameters;
    if (onSegments) onSegments(stop);
    return answer;
  }

 private:
  bool isLoaded_ = false;
};

}  // namespace quillmere
