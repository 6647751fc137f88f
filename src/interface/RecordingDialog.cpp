#include "interface/RecordingDialog.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using R = RecordingDialogReducer;

constexpr Duration copiedFeedbackDuration = 900ms;
// A text that waits on the clipboard or to be copied is in the history too: the pill need not stay for ever.
constexpr Duration leaveDelay = 12s;
// He is typing, and decides about the text when he has come to an end.
constexpr Duration choiceDelay = 30s;
constexpr Duration noticeDelay = 1500ms;

}  // namespace

RecordingDialog::RecordingDialog(AppState& appState, CancelOverlay& overlay, Executor& executor,
                                 RecordingDialogIntents intents, const Logging& logging)
    : appState_(appState),
      overlay_(overlay),
      executor_(executor),
      intents_(std::move(intents)),
      logger_(logging.logger(QStringLiteral("RecordingDialog"))),
      seenState_(appState.data().recordingState) {
  const AppStateData& data = appState_.data();
  state_ = R::step({}, R::Appeared{data.recordingState, data.pendingRetryAudioPath.has_value()}).state;
  // A text or an error that was there before, after a retry whose dialog came up late for example.
  if (data.recordingState.is<RecordingState::Idle>()) {
    if (!data.lastTranscription.isEmpty()) {
      state_.isLoading = true;
      changes_.push_back(data.recordingState);
    }
    runSoon();
  }
  refreshContent();
  observation_ = appState_.observe([this](const AppStateData& now) { follow(now); });
  if (data.showCancelConfirmation) follow(data);
}

RecordingDialog::~RecordingDialog() {
  lifetime_.end();
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

void RecordingDialog::finish() {
  const auto kind = content_.get().kind;
  using Kind = OverlayContent::Kind;
  if (kind == Kind::recording || kind == Kind::live || kind == Kind::starting) handle(R::FinishRequested{});
}

void RecordingDialog::cancel() {
  if (content_.get().canCancel) handle(R::CancelRequested{});
}

void RecordingDialog::copy() {
  if (state_.transcribedText.isEmpty() || !intents_.copyText) return;
  intents_.copyText(state_.transcribedText);
  handle(R::TextCopied{});
}

void RecordingDialog::pasteHere() {
  if (content_.get().canPasteHere && intents_.pasteHere) intents_.pasteHere();
}

void RecordingDialog::sendToTarget() {
  if (!content_.get().sendTo.isEmpty() && intents_.sendToTarget) intents_.sendToTarget();
}

void RecordingDialog::groundClicked() {
  using Kind = OverlayContent::Kind;
  switch (content_.get().kind) {
    case Kind::starting:
    case Kind::recording:
    case Kind::live:
      return;  // a microphone that is open stays in sight
    case Kind::question:
      return dismissQuestion();
    default:
      return close();
  }
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
  runSoon();
}

void RecordingDialog::runSoon() {
  if (isPosted_) return;
  isPosted_ = true;
  lifetime_.post(executor_, [this] { runPending(); });
}

void RecordingDialog::runPending() {
  isPosted_ = false;
  const Lifetime::Watch life = lifetime_.watch();
  const bool isQuestion = appState_.data().showCancelConfirmation;
  if (isQuestion != seenQuestion_) {
    seenQuestion_ = isQuestion;
    handle(R::CancelConfirmationChanged{isQuestion});
    if (life.isOver()) return;
  }
  while (!changes_.empty()) {
    const RecordingState state = changes_.front();
    changes_.pop_front();
    // A copy: the effects change the application's state.
    const AppStateData data = appState_.data();
    handle(R::RecordingStateChanged{state, data.lastTranscription, data.pendingRetryAudioPath.has_value()});
    if (life.isOver()) return;
  }
  const AppStateData& now = appState_.data();
  if (now.lastTranscription.isEmpty()) {
    if (state_.showSuccessState) handle(R::AttemptBegan{});
    if (life.isOver()) return;
    if (now.dictationError && now.recordingState.is<RecordingState::Idle>() && !state_.hasError) handle(R::Failed{});
    if (life.isOver()) return;
  }
  refreshContent();
}

void RecordingDialog::handle(const RecordingDialogReducer::Event& event) {
  auto [state, effects] = R::step(state_, event);
  state_ = std::move(state);
  const Lifetime::Watch life = lifetime_.watch();
  for (const auto& effect : effects) {
    perform(effect);
    // What the effect told others may have closed the dialog.
    if (life.isOver()) return;
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
    void operator()(const R::FinishRecording&) {
      if (dialog.intents_.finishRecording) dialog.intents_.finishRecording();
    }
    void operator()(const R::Cancel&) {
      if (dialog.intents_.cancel) dialog.intents_.cancel();
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
      dialog.lifetime_.post(dialog.executor_, [self = &dialog] {
        self->appState_.update([](AppStateData& data) { data.showRecordingDialog = false; });
      });
    }
    void operator()(const R::LogLine& line) { dialog.logger_.info(line.format); }
  };
  std::visit(Performer{*this}, effect);
}

void RecordingDialog::refreshContent() {
  R::Surroundings surroundings;
  if (intents_.stopKey) surroundings.stopKey = intents_.stopKey();
  if (intents_.cancelKey) surroundings.cancelKey = intents_.cancelKey();
  surroundings.isTextOnClipboard = intents_.isTextOnClipboard && intents_.isTextOnClipboard();
  if (intents_.targetName) surroundings.targetName = intents_.targetName();
  OverlayContent next = R::content(state_, appState_.data(), surroundings);
  if (next == content_.get()) return;
  content_.set(std::move(next));
  armLeave();
}

void RecordingDialog::armLeave() {
  executor_.cancelTimer(leaveTimer_);
  leaveTimer_ = 0;
  using Kind = OverlayContent::Kind;
  const Kind kind = content_.get().kind;
  if (kind != Kind::ready && kind != Kind::onClipboard && kind != Kind::notice) return;
  const Duration delay = kind == Kind::notice ? noticeDelay : content_.get().canPasteHere ? choiceDelay : leaveDelay;
  leaveTimer_ = executor_.startTimer(delay, [this] { close(); });
}

}  // namespace quillmere
