#pragma once
#include <QDateTime>
#include <QStringList>
#include <optional>

namespace quillmere {

// What a recording has changed for other programs.
struct AudioEnvironmentState {
  std::optional<float> originalVolume;  // 0 to 100; none when nothing was muted
  QStringList pausedApps;               // always empty
  QDateTime timestamp;
  bool didPauseMedia = false;
};

}  // namespace quillmere
