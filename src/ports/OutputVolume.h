#pragma once
#include "base/Result.h"
#include "base/async/Task.h"
#include "domain/Errors.h"

namespace quillmere {

// Volume of the default output as a whole number from 0 to 100. Main thread; each call ends within 1 s.
class OutputVolume {
 public:
  virtual ~OutputVolume() = default;
  virtual Task<Result<int, PlatformError>> volume() = 0;
  virtual Task<Result<void, PlatformError>> setVolume(int percent) = 0;
};

}  // namespace quillmere
