#pragma once
#include "base/log/Logger.h"
#include "platform/linux/Autostart.h"
#include "ports/DefaultsStore.h"

namespace quillmere {

// Keeps the desktop's autostart entry as the setting "launchAtLogin" says, from now on. Main thread; the store outlives
// it.
class LaunchAtLogin {
 public:
  LaunchAtLogin(DefaultsStore& defaults, Autostart autostart, const Logging& logging);
  ~LaunchAtLogin();
  LaunchAtLogin(const LaunchAtLogin&) = delete;
  LaunchAtLogin& operator=(const LaunchAtLogin&) = delete;

 private:
  void apply();

  DefaultsStore& defaults_;
  Autostart autostart_;
  Logger logger_;
  int observer_ = 0;
};

}  // namespace quillmere
