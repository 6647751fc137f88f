#pragma once
#include "platform/pulse/PulseConnection.h"
#include "ports/OutputVolume.h"

namespace quillmere {

// Volume of the sinks, as the user's mixer shows it; `uid` is the sink's name.
class PulseOutputVolume final : public OutputVolume {
 public:
  explicit PulseOutputVolume(PulseConnection& connection) : connection_(connection) {}
  Task<Result<OutputLevel, PlatformError>> level(std::optional<QString> uid = {}) override;
  Task<Result<void, PlatformError>> setLevel(OutputLevel level) override;

 private:
  PulseConnection& connection_;
};

}  // namespace quillmere
