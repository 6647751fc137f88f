#pragma once
#include <map>

#include "base/async/Await.h"
#include "ports/OutputVolume.h"

namespace quillmere {

// Outputs by their uid, with two channels each.
class FakeOutputVolume final : public OutputVolume {
 public:
  std::map<QString, std::vector<double>> outputs{{"speakers", {0.65, 0.325}}};
  QString defaultUid = "speakers";
  std::optional<PlatformError> readError, writeError;
  Duration takes = Duration::zero();
  int writes = 0;

  int percent(const QString& uid = "speakers") const { return OutputLevel{uid, uid, outputs.at(uid)}.percent(); }

  Task<Result<OutputLevel, PlatformError>> level(std::optional<QString> uid = {}) override {
    const auto found = outputs.find(uid.value_or(defaultUid));
    if (found == outputs.end()) co_return Failed{absent()};
    const OutputLevel level{found->first, found->first.toUpper(), found->second};
    if (takes > Duration::zero()) co_await sleepFor(takes);
    if (readError) co_return Failed{*readError};
    co_return level;
  }
  Task<Result<void, PlatformError>> setLevel(OutputLevel level) override {
    if (takes > Duration::zero()) co_await sleepFor(takes);
    if (writeError) co_return Failed{*writeError};
    if (!outputs.contains(level.uid)) co_return Failed{absent()};
    ++writes;
    outputs[level.uid] = level.channels;
    co_return Result<void, PlatformError>();
  }

 private:
  static PlatformError absent() { return {"audio", 5, "No such entity"}; }
};

}  // namespace quillmere
