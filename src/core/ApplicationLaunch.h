#pragma once
#include <functional>
#include <vector>

#include "base/Published.h"
#include "base/async/Executor.h"
#include "base/async/TaskScope.h"
#include "base/log/Logger.h"

namespace quillmere {

class AppState;
class AudioRecordingManager;
class CrashRecoveryManager;
class GlobalHotkeys;
class ModelPreparation;
class PersistenceController;
class SettingsManager;
class ShortcutStore;

// What the launch does to the windows. Each may be empty.
struct LaunchWindows {
  std::function<void()> onOrderOutWindow;            // 0.1 s after the launch, for a start without the window
  std::function<void()> onShowOnboarding;            // 0.5 s after the launch of an application not set up yet
  std::function<void(Duration sinceStart)> onReady;  // the shortcuts work
};

// The one pass through the start of the desktop application, over objects that are already built. No step can stop the
// program. Main thread.
class ApplicationLaunch {
 public:
  // All outlive this object; the pointers may be null.
  struct Services {
    Executor& executor;
    AppState& appState;
    AudioRecordingManager& audioManager;
    CrashRecoveryManager& recovery;
    ModelPreparation& models;
    SettingsManager& settings;
    PersistenceController& persistence;
    GlobalHotkeys& hotkeys;
    ShortcutStore* shortcuts = nullptr;
    LaunchWindows windows = {};
  };
  ApplicationLaunch(Services services, const Logging& logging);
  ~ApplicationLaunch();

  // Returns at once; the rest follows in tasks. Once, a repeat does nothing.
  void start();

  // Set once the saved mode has been loaded.
  Published<bool>& didBootstrapModels() { return didBootstrapModels_; }
  Published<bool>& isReady() { return isReady_; }

 private:
  Task<void> run();
  Task<void> recover();
  Task<void> bootstrapModels();
  void followSettings();
  void scheduleWindows();
  void after(Duration delay, std::function<void()> action);

  Services services_;
  Logger logger_;
  TimePoint startTime_;
  bool isStarted_ = false;
  Published<bool> didBootstrapModels_;
  Published<bool> isReady_;
  std::vector<Executor::TimerId> timers_;
  Subscription settingsChanges_;
  Subscription selectedMode_;
  TaskScope scope_;  // last: its tasks use the fields above
};

}  // namespace quillmere
