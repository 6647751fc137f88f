#pragma once
#include <deque>

#include "base/Published.h"
#include "base/async/Executor.h"
#include "base/async/Lifetime.h"
#include "base/log/Logger.h"
#include "core/AppState.h"
#include "interface/CancelOverlay.h"
#include "interface/RecordingDialogIntents.h"
#include "interface/RecordingDialogReducer.h"

namespace quillmere {

// The state behind the recording pill: follows AppState while the panel is up and carries out what the user chooses.
// Main thread. Everything it is made with outlives it.
class RecordingDialog {
 public:
  RecordingDialog(AppState& appState, CancelOverlay& overlay, Executor& executor, RecordingDialogIntents intents,
                  const Logging& logging);
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
  void finish();
  void cancel();
  void copy();
  // For a text that waits because the user typed elsewhere.
  void pasteHere();
  void sendToTarget();
  // Between the buttons: what shows something that is over, or goes on without the pill, leaves.
  void groundClicked();

 private:
  void follow(const AppStateData& data);
  void runSoon();
  void runPending();
  void handle(const RecordingDialogReducer::Event& event);
  void perform(const RecordingDialogReducer::Effect& effect);
  void refreshContent();
  void armLeave();
  void close();

  AppState& appState_;
  CancelOverlay& overlay_;
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
  Subscription observation_;
  Lifetime lifetime_;
};

}  // namespace quillmere
