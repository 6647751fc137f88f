#pragma once
#include <QDateTime>
#include <optional>

#include "ports/OutputVolume.h"

namespace quillmere {

// What a recording has changed for other programs.
struct AudioEnvironmentState {
  std::optional<OutputLevel> originalLevel;  // none when nothing was muted
  QDateTime timestamp;
  bool didPauseMedia = false;
};

}  // namespace quillmere
