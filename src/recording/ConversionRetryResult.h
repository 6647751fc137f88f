#pragma once
#include <optional>

#include "audio/AudioFileConverter.h"
#include "domain/Errors.h"

namespace quillmere {

// How the attempts to shrink a long recording ended.
struct ConversionRetryResult {
  bool success = false;
  int attempts = 0;
  std::optional<AudioFileFormat> metrics;
  std::optional<AnyError> lastError;
};

}  // namespace quillmere
