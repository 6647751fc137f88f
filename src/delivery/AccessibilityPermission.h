#pragma once
#include <functional>

#include "base/Published.h"
#include "base/async/Async.h"
#include "base/log/Logger.h"
#include "ports/Accessibility.h"

namespace quillmere {

// Whether other programs can be read, and what to do about it when they can't. Main thread.
class AccessibilityPermission {
 public:
  AccessibilityPermission(const Accessibility& accessibility, Executor& executor, std::function<void()> openSettings,
                          const Logging& logging);

  bool isTrusted() const { return accessibility_.isTrusted(); }
  void openSettings();
  // Where to look for the permission; only the first call logs it.
  void logGuidance();
  // Looks every 0.3 s until other programs can be read; a second call does nothing while it runs.
  void startPolling();
  // Becomes true when the polling found the permission.
  Published<bool>& isGranted() { return isGranted_; }

 private:
  Task<void> poll();

  const Accessibility& accessibility_;
  std::function<void()> openSettings_;
  Logger logger_;
  bool hasLoggedGuidance_ = false;
  Published<bool> isGranted_;
  TaskHandle<void> polling_;
  TaskScope scope_;
};

}  // namespace quillmere
