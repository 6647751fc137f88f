#include "models/DiskSpace.h"

#include <cerrno>

namespace quillmere {

bool isOutOfSpace(int systemError) {
  return systemError == ENOSPC || systemError == EDQUOT || systemError == EFBIG;
}

bool isOutOfSpace(const AnyError& error) {
  const auto* platform = std::get_if<PlatformError>(&error);
  return platform && platform->domain == QLatin1String("filesystem") && isOutOfSpace(platform->code);
}

}  // namespace quillmere
