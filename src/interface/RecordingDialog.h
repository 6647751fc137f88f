#pragma once
#include <deque>
#include <memory>

#include "base/Published.h"
#include "base/async/Executor.h"
#include "base/log/Logger.h"
#include "core/AppState.h"
#include "interface/CancelOverlay.h"
#include "interface/RecordingDialogIntents.h"
#include "interface/RecordingDialogReducer.h"

namespace quillmere {

class UserNotices;

// The state behind the recording pill: follows AppState while the panel is up and carries out what the user chooses.
// Main thread. Everything it is made with outlives it.
class RecordingDialog {
 public:
  RecordingDialog(AppState& appState, CancelOverlay& overlay, UserNotices* notices, Executor& executor,
                  RecordingDialogIntents intents, const Logging& logging);
  ~RecordingDialog();
  RecordingDialog(const RecordingDialog&) = delete;
  RecordingDialog& operator=(const RecordingDialog&) = delete;

  const RecordingDialogState& state() const { return state_; }
  const OverlayContent& content() const { return content_.get(); }
  [[nodiscard]] Subscription observeContent(std::function<void(const OverlayContent&)> observer) {
    return content_.observe(std::move(observer));
  }

  void confirmCancel();
  void dismissQuestion();
  void copy();
  void close();

 private:
  void follow(const AppStateData& data);
  void runPending();
  void handle(const RecordingDialogReducer::Event& event);
  void perform(const RecordingDialogReducer::Effect& effect);
  void refreshContent();
  void armLeave();
  void post(std::function<void()> function);

  AppState& appState_;
  CancelOverlay& overlay_;
  UserNotices* notices_;
  Executor& executor_;
  RecordingDialogIntents intents_;
  Logger logger_;
  RecordingDialogState state_;
  Published<OverlayContent> content_;
  RecordingState seenState_;
  bool seenQuestion_ = false;
  std::deque<RecordingState> changes_;  // seen, but not acted on yet
  bool isPosted_ = false;
  Executor::TimerId feedbackTimer_ = 0;
  Executor::TimerId leaveTimer_ = 0;
  std::shared_ptr<bool> isAlive_ = std::make_shared<bool>(true);
  Subscription observation_;
};

}  // namespace quillmere
