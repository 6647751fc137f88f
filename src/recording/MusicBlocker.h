#pragma once
#include <optional>

#include "base/Subscription.h"
#include "base/log/Logger.h"
#include "ports/Workspace.h"

namespace quillmere {

// Ends the music player that a headset's media key starts, as soon as it shows. Main thread.
class MusicBlocker {
 public:
  MusicBlocker(Workspace& workspace, const Logging& logging);

  void start();
  void stop();
  bool isActive() const { return observer_.has_value(); }

 private:
  void launched(const RunningApplication& application);

  Workspace& workspace_;
  Logger logger_;
  std::optional<Subscription> observer_;
};

}  // namespace quillmere
