#pragma once
#include "base/async/SerialGate.h"
#include "base/async/TaskScope.h"
#include "base/log/Logger.h"
#include "ports/AccessibilitySwitch.h"
#include "ports/DefaultsStore.h"

namespace quillmere {

class SettingsManager;

// Switches the desktop's accessibility on once the user knows of it (the introduction explains it, a setting says no),
// and off again at the end if it was off before. What it did stands in the store before it is done, so a run that was
// killed is made good by the next one. Main thread; everything outlives it.
class AccessibilityConsent {
 public:
  AccessibilityConsent(AccessibilitySwitch& toolkits, const SettingsManager& settings, DefaultsStore& defaults,
                       Executor& executor, const Logging& logging);
  ~AccessibilityConsent();
  AccessibilityConsent(const AccessibilityConsent&) = delete;
  AccessibilityConsent& operator=(const AccessibilityConsent&) = delete;

  // From now on it is as the settings say.
  void start();
  // The end of the program; up to 2 s.
  Task<void> end();

 private:
  bool isWanted() const;
  bool isOurs() const;  // it was off, and we switched it on
  Task<void> apply();
  Task<void> giveBack();

  AccessibilitySwitch& switch_;
  const SettingsManager& settings_;
  DefaultsStore& defaults_;
  Logger logger_;
  int observer_ = 0;
  bool isStarted_ = false;
  bool isEnding_ = false;
  SerialGate gate_;
  TaskScope scope_;
};

}  // namespace quillmere
