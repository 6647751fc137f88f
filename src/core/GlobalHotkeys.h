#pragma once
#include <functional>
#include <optional>

#include "base/async/Executor.h"
#include "base/async/Lifetime.h"
#include "base/log/Logger.h"

namespace quillmere {

class AppState;
class DictationControl;
class GlobalShortcuts;
class SettingsManager;

// What each system-wide shortcut does. The shortcut for cancelling belongs to the recording flow, the one for
// push-to-talk to PushToTalk. Handlers act in a later turn of the executor. Main thread.
class GlobalHotkeys {
 public:
  // All outlive this object; the pointers may be null.
  struct Services {
    Executor& executor;
    GlobalShortcuts& shortcuts;
    DictationControl* dictation = nullptr;
    AppState* appState = nullptr;
    SettingsManager* settings = nullptr;
    std::function<void()> toggleMiniWindow = {};
    std::function<bool()> toggleMainWindow = {};  // whether the window is shown now
    std::function<void()> configurePushToTalk = {};
  };
  GlobalHotkeys(Services services, const Logging& logging);

  // Once; a repeat does nothing.
  void setupGlobalHotkeys();

 private:
  void toggleKeyDown();
  void toggleKeyUp();
  void startStreaming();
  void changeMode();
  void toggleMiniWindow();
  void toggleMainWindow();
  void setHeld(bool isHeld);
  void onKeyUp(const char* name, void (GlobalHotkeys::*handler)());
  std::function<void()> later(void (GlobalHotkeys::*handler)());

  Services services_;
  Logger logger_;
  bool isSetUp_ = false;
  std::optional<TimePoint> lastToggleShortcutTime_;
  Lifetime lifetime_;
};

}  // namespace quillmere
