#pragma once
#include <QFileInfo>
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

  Result<void, PlatformError> load(const QString& path) override {
    ++loads;
    if (loadError) return Failed{*loadError};
    if (!QFileInfo::exists(path)) return Failed{PlatformError{"speech", 2, "no such file"}};
    isLoaded_ = true;
    return {};
  }
  bool isLoaded() const override { return isLoaded_; }
  std::optional<std::vector<VoiceActivitySegment>> segments(std::span<const float>, const VoiceActivityParameters&,
                                                            const std::atomic<bool>& stop) override {
    if (onSegments) onSegments(stop);
    return isLoaded_ && !stop ? answer : std::nullopt;
  }

 private:
  bool isLoaded_ = false;
};

}  // namespace quillmere
