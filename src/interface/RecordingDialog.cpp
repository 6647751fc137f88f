#include "interface/RecordingDialog.h"

#include "providers/UserNotices.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using R = RecordingDialogReducer;

constexpr Duration copiedFeedbackDuration = 900ms;
// A text that waits on the clipboard or to be copied is in the history too: the pill need not stay for ever.
constexpr Duration leaveDelay = 12s;

}  // namespace

RecordingDialog::RecordingDialog(AppState& appState, CancelOverlay& overlay, UserNotices* notices, Executor& executor,
                                 RecordingDialogIntents intents, const Logging& logging)
    : appState_(appState),
      overlay_(overlay),
      notices_(notices),
      executor_(executor),
      intents_(std::move(intents)),
      logger_(logging.logger(QStringLiteral("RecordingDialog"))),
      seenState_(appState.data().recordingState) {
  const AppStateData& data = appState_.data();
  state_ = R::step({}, R::Appeared{data.recordingState, data.pendingRetryAudioPath.has_value()}).state;
  // A text that was there before, after a retry whose dialog came up late for example.
  if (data.recordingState.is<RecordingState::Idle>() && !data.lastTranscription.isEmpty()) {
    state_.isLoading = true;
    changes_.push_back(data.recordingState);
    isPosted_ = true;
    post([this] { runPending(); });
  }
  refreshContent();
  observation_ = appState_.observe([this](const AppStateData& now) { follow(now); });
  if (data.showCancelConfirmation) follow(data);
}

RecordingDialog::~RecordingDialog() {
  *isAlive_ = false;
  executor_.cancelTimer(feedbackTimer_);
  executor_.cancelTimer(leaveTimer_);
  if (seenQuestion_) overlay_.stopCancelOverlay();
}

void RecordingDialog::confirmCancel() {
  if (!appState_.data().showCancelConfirmation) return;  // answered already
  const RecordingState& state = appState_.data().recordingState;
  handle(R::CancelConfirmed{state.is<RecordingState::Transcribing>() || state.is<RecordingState::PostProcessing>()});
}

void RecordingDialog::dismissQuestion() {
  if (appState_.data().showCancelConfirmation) handle(R::QuestionDismissed{});
}

void RecordingDialog::copy() {
  if (state_.transcribedText.isEmpty() || !intents_.copyText) return;
  intents_.copyText(state_.transcribedText);
  handle(R::TextCopied{});
}

void RecordingDialog::close() {
  handle(R::CloseRequested{});
}

void RecordingDialog::follow(const AppStateData& data) {
  if (data.recordingState != seenState_) {
    seenState_ = data.recordingState;
    changes_.push_back(seenState_);
  }
  // The fields that belong to a change of state are written around it: looked at in the next turn, they are all there.
  if (!isPosted_) {
    isPosted_ = true;
    post([this] { runPending(); });
  }
}

void RecordingDialog::runPending() {
  isPosted_ = false;
  const auto alive = isAlive_;
  const bool isQuestion = appState_.data().showCancelConfirmation;
  if (isQuestion != seenQuestion_) {
    seenQuestion_ = isQuestion;
    handle(R::CancelConfirmationChanged{isQuestion});
    if (!*alive) return;
  }
  while (!changes_.empty()) {
    const RecordingState state = changes_.front();
    changes_.pop_front();
    // A copy: the effects change the application's state.
    const AppStateData data = appState_.data();
    handle(R::RecordingStateChanged{state, data.lastTranscription, data.pendingRetryAudioPath.has_value()});
    if (!*alive) return;
  }
  refreshContent();
}

void RecordingDialog::handle(const RecordingDialogReducer::Event& event) {
  auto [state, effects] = R::step(state_, event);
  state_ = std::move(state);
  const auto alive = isAlive_;
  for (const auto& effect : effects) {
    perform(effect);
    // What the effect told others may have closed the dialog.
    if (!*alive) return;
  }
  refreshContent();
}

void RecordingDialog::perform(const RecordingDialogReducer::Effect& effect) {
  struct Performer {
    RecordingDialog& dialog;

    void operator()(const R::ClearLastDictation&) {
      dialog.appState_.update([](AppStateData& data) {
        data.lastTranscription.clear();
        data.streamingText.clear();
        data.isStreaming = false;
        data.transcriptionPasteFailed = false;
      });
    }
    void operator()(const R::ReportError& error) {
      if (dialog.notices_) dialog.notices_->showToast(error.message, error.isCritical);
    }
    void operator()(const R::StartCancelOverlay&) {
      const bool isTap = dialog.overlay_.startCancelOverlay([self = &dialog] { self->confirmCancel(); },
                                                            [self = &dialog] { self->dismissQuestion(); });
      dialog.handle(R::CancelOverlayStarted{isTap});
    }
    void operator()(const R::StopCancelOverlay&) { dialog.overlay_.stopCancelOverlay(); }
    void operator()(const R::HideQuestion&) {
      dialog.appState_.update([](AppStateData& data) { data.showCancelConfirmation = false; });
    }
    void operator()(const R::ForgetTranscription&) {
      dialog.appState_.update([](AppStateData& data) {
        data.lastTranscription.clear();
        data.transcriptionPasteFailed = false;
      });
    }
    void operator()(const R::ClearPasteFailed&) {
      dialog.appState_.update([](AppStateData& data) { data.transcriptionPasteFailed = false; });
    }
    void operator()(const R::CancelTranscription&) {
      if (dialog.intents_.cancelTranscription) dialog.intents_.cancelTranscription();
    }
    void operator()(const R::StopRecording&) {
      if (dialog.intents_.stopRecording) dialog.intents_.stopRecording();
    }
    void operator()(const R::StartCopiedFeedbackTimer&) {
      dialog.executor_.cancelTimer(dialog.feedbackTimer_);
      dialog.feedbackTimer_ = dialog.executor_.startTimer(copiedFeedbackDuration,
                                                          [self = &dialog] { self->handle(R::CopiedFeedbackEnded{}); });
    }
    void operator()(const R::HideDialog&) {
      dialog.post(
          [self = &dialog] { self->appState_.update([](AppStateData& data) { data.showRecordingDialog = false; }); });
    }
    void operator()(const R::LogLine& line) { dialog.logger_.info(line.format); }
  };
  std::visit(Performer{*this}, effect);
}

void RecordingDialog::refreshContent() {
  const QString cancelKey = intents_.cancelKey ? intents_.cancelKey() : QString();
  const bool isTextOnClipboard = intents_.isTextOnClipboard && intents_.isTextOnClipboard();
  OverlayContent next = R::content(state_, appState_.data(), cancelKey, isTextOnClipboard);
  if (next == content_.get()) return;
  content_.set(std::move(next));
  armLeave();
}

void RecordingDialog::armLeave() {
  executor_.cancelTimer(leaveTimer_);
  leaveTimer_ = 0;
  const auto kind = content_.get().kind;
  if (kind == OverlayContent::Kind::ready || kind == OverlayContent::Kind::onClipboard)
    leaveTimer_ = executor_.startTimer(leaveDelay, [this] { close(); });
}

void RecordingDialog::post(std::function<void()> function) {
  executor_.post([alive = isAlive_, function = std::move(function)] {
    if (*alive) function();
  });
}

}  // namespace quillmere
