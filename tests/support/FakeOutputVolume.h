#pragma once
#include <vector>

#include "base/async/Await.h"
#include "ports/OutputVolume.h"

namespace quillmere {

class FakeOutputVolume final : public OutputVolume {
 public:
  int current = 65;
  std::optional<PlatformError> readError, writeError;
  Duration takes = Duration::zero();
  std::vector<int> written;

  Task<Result<int, PlatformError>> volume() override {
    const int asked = current;
    if (takes > Duration::zero()) co_await sleepFor(takes);
    if (readError) co_return Failed{*readError};
    co_return asked;
  }
  Task<Result<void, PlatformError>> setVolume(int percent) override {
    if (takes > Duration::zero()) co_await sleepFor(takes);
    if (writeError) co_return Failed{*writeError};
    written.push_back(percent);
    current = percent;
    co_return Result<void, PlatformError>();
  }
};

}  // namespace quillmere
