#pragma once
#include <functional>
#include <memory>
#include <vector>

#include "base/async/Executor.h"
#include "base/async/Lifetime.h"
#include "base/log/Logger.h"
#include "interface/CancelOverlay.h"
#include "interface/LevelMeter.h"
#include "interface/RecordingDialogIntents.h"
#include "interface/RecordingPanel.h"

namespace quillmere {

class AppState;
class GlobalShortcuts;
class KeyInterceptor;
class RecordingDialog;
class SettingsManager;

// Owns the panel of the recording dialog, and the two keys of the question "Cancel?" while it is up: a shortcut that
// has one of them alone, such as Escape to cancel, stands back meanwhile. Main thread.
// `interceptor` and `shortcuts` may be null: without the first, as when the keys can't be had, the question is answered
// by the panel's own buttons and by the keys of this program's windows.
class RecordingWindowManager final : public CancelOverlay {
 public:
  RecordingWindowManager(RecordingPanelFactory makePanel, KeyInterceptor* interceptor, GlobalShortcuts* shortcuts,
                         Executor& executor, Logging logging);
  ~RecordingWindowManager() override;
  RecordingWindowManager(const RecordingWindowManager&) = delete;
  RecordingWindowManager& operator=(const RecordingWindowManager&) = delete;

  // Shows and hides the panel as the application state says, from now on.
  void follow(AppState& appState, SettingsManager* settings, RecordingDialogIntents intents);

  // Nothing happens while the setting showRecordingWindow is off. An earlier panel is closed first.
  void show(AppState& appState, SettingsManager* settings, RecordingDialogIntents intents);
  // The panel goes; with the word that the text arrived it stays a moment longer.
  void hide();

  bool startCancelOverlay(std::function<void()> onReturn, std::function<void()> onEscape) override;
  void stopCancelOverlay() override;
  bool isOverlayVisible() const { return isOverlayVisible_; }

  // Microphone level (0 to 1) and length of the recording, as often as they change.
  void setLiveMetrics(float level, double durationSeconds);

  bool hasPanel() const { return panel_ != nullptr; }
  const RecordingDialog* dialog() const { return dialog_.get(); }

 private:
  void closePanel();
  void yieldQuestionKeys(bool isYielded);

  RecordingPanelFactory makePanel_;
  KeyInterceptor* interceptor_;
  GlobalShortcuts* shortcuts_;
  Executor& executor_;
  Logging logging_;
  bool isOverlayVisible_ = false;
  bool isShown_ = false;  // what the application state said last
  std::function<void()> cancelOverlayOnReturn_;
  std::function<void()> cancelOverlayOnEscape_;
  LevelMeter meter_;
  std::unique_ptr<RecordingPanel> panel_;
  std::unique_ptr<RecordingDialog> dialog_;
  std::vector<Subscription> obsTokens_;
  Executor::TimerId lingerTimer_ = 0;
  Subscription following_;
  Subscription wish_;  // for a panel at all
  Lifetime lifetime_;
};

}  // namespace quillmere
