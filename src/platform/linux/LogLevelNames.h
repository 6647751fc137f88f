#pragma once
#include <spdlog/common.h>
#include <QString>
#include <array>

#include "base/log/Logger.h"

namespace quillmere {

// Both know six levels in one order, so a level travels through spdlog by its number.
inline constexpr std::array<const char*, 6> logLevelNames{"debug", "info", "notice", "warning", "error", "fault"};

inline spdlog::level::level_enum spdlogLevel(LogLevel level) {
  return static_cast<spdlog::level::level_enum>(level);
}

inline QString logLevelName(spdlog::level::level_enum level) {
  const auto index = static_cast<size_t>(level);
  return QString::fromLatin1(index < logLevelNames.size() ? logLevelNames[index] : "info");
}

}  // namespace quillmere
