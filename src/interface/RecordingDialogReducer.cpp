#include "interface/RecordingDialogReducer.h"

#include "base/text/LocalizedText.h"
#include "delivery/PasteTexts.h"

namespace quillmere {
namespace {

using R = RecordingDialogReducer;

// Only what belongs to the dialog itself stays.
RecordingDialogState fresh(const RecordingDialogState& state) {
  RecordingDialogState fresh;
  fresh.usingCancelOverlayEventTap = state.usingCancelOverlayEventTap;
  return fresh;
}

R::Step closed(const RecordingDialogState& state, std::vector<R::Effect> effects) {
  effects.push_back(R::LogLine{"🔍 closeDialog() called - setting isPresented = false"});
  effects.push_back(R::ClearPasteFailed{});
  effects.push_back(
      R::LogLine{"🔍 Setting isPresented binding to false (which is bound to appState.showRecordingDialog)"});
  effects.push_back(R::HideDialog{});
  return {fresh(state), std::move(effects)};
}

QString noticeText(DictationNotice notice) {
  return notice == DictationNotice::tooShort ? localizedText("recording.dialog.tooShort")
                                             : localizedText("recording.dialog.nothingHeard");
}

QString shortened(const QString& name) {
  constexpr qsizetype limit = 20;
  return name.size() <= limit ? name : name.left(limit - 1) + QChar(0x2026);
}

// Keys that go to the focused program are not named.
OverlayContent question(const RecordingDialogState& state) {
  OverlayContent content{OverlayContent::Kind::question, localizedText("recording.dialog.cancel.question")};
  if (!state.usingCancelOverlayEventTap) return content;
  content.stopKey = localizedText("recording.dialog.key.enter");
  content.cancelKey = localizedText("recording.dialog.key.escape");
  return content;
}

OverlayContent onClipboard(const AppStateData& data, const R::Surroundings& surroundings) {
  OverlayContent content{OverlayContent::Kind::onClipboard,
                         localizedText("recording.dialog.onClipboard", pasteKeysText(data.lastPasteKeys))};
  content.canPasteHere = data.lastPaste == PasteOutcome::typedElsewhere;
  if (content.canPasteHere) content.sendTo = shortened(surroundings.targetName);
  return content;
}

struct Stepper {
  RecordingDialogState state;

  R::Step operator()(const R::Appeared& event) {
    RecordingDialogState fresh;
    fresh.isLoading = event.state.is<RecordingState::Transcribing>();
    fresh.isPostProcessing = event.state.is<RecordingState::PostProcessing>();
    fresh.isRetrying = event.isRetry && fresh.isLoading;
    return {fresh, {}};
  }

  R::Step operator()(const R::RecordingStateChanged& event) {
    if (event.state.is<RecordingState::Recording>()) {
      RecordingDialogState recording = fresh(state);
      recording.isFinishing = state.isFinishing;  // a stop that came before the recorder ran
      return {recording, {R::ClearLastDictation{}}};
    }
    if (event.state.is<RecordingState::Transcribing>()) {
      state.isLoading = true;
      state.isFinishing = false;
      state.isRetrying = event.isRetry;
      return {state, {}};
    }
    if (event.state.is<RecordingState::PostProcessing>()) {
      state.isPostProcessing = true;
      return {state, {}};
    }
    if (!event.state.is<RecordingState::Idle>() || !(state.isLoading || state.isPostProcessing)) return {state, {}};
    // Without a text: what follows is an error, a notice or the start of another dictation.
    if (event.lastTranscription.isEmpty()) return {fresh(state), {}};
    state.isLoading = state.isPostProcessing = false;
    state.transcribedText = event.lastTranscription;
    state.showSuccessState = true;
    return {state, {}};
  }

  R::Step operator()(const R::AttemptBegan&) { return {fresh(state), {}}; }

  R::Step operator()(const R::Failed&) {
    R::Step step = closed(state, {});
    step.state.hasError = true;
    return step;
  }

  R::Step operator()(const R::CancelConfirmationChanged& event) {
    if (event.isShown) return {state, {R::StartCancelOverlay{}}};
    state.usingCancelOverlayEventTap = false;
    return {state, {R::StopCancelOverlay{}}};
  }

  R::Step operator()(const R::CancelOverlayStarted& event) {
    state.usingCancelOverlayEventTap = event.isTap;
    return {state, {}};
  }

  R::Step operator()(const R::CancelConfirmed& event) {
    std::vector<R::Effect> effects{R::HideQuestion{}, R::ForgetTranscription{}};
    if (event.isTranscriptionRunning)
      effects.push_back(R::CancelTranscription{});
    else
      effects.push_back(R::StopRecording{});
    R::Step step = closed(state, std::move(effects));
    step.effects.push_back(R::LogLine{"❌ Recording/transcription cancelled from dialog"});
    return step;
  }

  R::Step operator()(const R::QuestionDismissed&) { return {state, {R::HideQuestion{}}}; }

  R::Step operator()(const R::FinishRequested&) {
    if (state.isFinishing) return {state, {}};  // once: a second press would begin anew
    state.isFinishing = true;
    return {state, {R::FinishRecording{}}};
  }

  R::Step operator()(const R::CancelRequested&) { return {state, {R::Cancel{}}}; }

  R::Step operator()(const R::TextCopied&) {
    state.showCopiedFeedback = true;
    return {state, {R::StartCopiedFeedbackTimer{}}};
  }

  R::Step operator()(const R::CopiedFeedbackEnded&) {
    if (!state.showCopiedFeedback) return {state, {}};
    return closed(state, {});
  }

  R::Step operator()(const R::CloseRequested&) { return closed(state, {}); }
};

}  // namespace

RecordingDialogReducer::Step RecordingDialogReducer::step(const RecordingDialogState& state, const Event& event) {
  return std::visit(Stepper{state}, event);
}

QString RecordingDialogReducer::statusTextKey(const RecordingDialogState& state, const AppStateData& data) {
  if (data.isStreamingShortcutTriggered) {
    switch (data.streamingConnectionState.kind) {
      case StreamingConnectionState::Kind::streaming:
        return QStringLiteral("streaming.loading.streaming");
      case StreamingConnectionState::Kind::ready:
        return QStringLiteral("streaming.loading.ready");
      case StreamingConnectionState::Kind::connecting:
        return QStringLiteral("streaming.loading.connecting");
      default:
        return QStringLiteral("recording.loading.starting");
    }
  }
  if (state.isRetrying) return QStringLiteral("recording.loading.retrying");
  if (state.isPostProcessing) return QStringLiteral("recording.loading.postprocessing");
  return QStringLiteral("recording.loading.transcribing");
}

OverlayContent RecordingDialogReducer::content(const RecordingDialogState& state, const AppStateData& data,
                                               const Surroundings& surroundings) {
  using Kind = OverlayContent::Kind;
  if (data.showCancelConfirmation) return question(state);
  if (state.showSuccessState) {
    if (state.showCopiedFeedback) return {Kind::pasted, localizedText("recording.dialog.copied")};
    if (data.transcriptionPasteFailed && surroundings.isTextOnClipboard) return onClipboard(data, surroundings);
    // What was transcribed once more isn't pasted.
    if (data.transcriptionPasteFailed || state.isRetrying)
      return {Kind::ready, localizedText("recording.dialog.ready")};
    // The text is on its way to the field.
    return {Kind::working, localizedText("recording.dialog.pasting")};
  }
  const bool isRecording = data.recordingState.is<RecordingState::Recording>();
  const bool isWorking =
      state.isLoading || state.isPostProcessing || data.recordingState.is<RecordingState::Processing>();
  if (!isWorking && !isRecording && data.dictationNotice != DictationNotice::none)
    return {Kind::notice, noticeText(data.dictationNotice)};
  OverlayContent content{Kind::starting, localizedText("recording.loading.starting"), true, surroundings.cancelKey};
  const bool isLive = data.streamingConnectionState.kind == StreamingConnectionState::Kind::streaming;
  if (isWorking || (isRecording && data.isStreamingShortcutTriggered && !isLive)) {
    content.kind = Kind::working;
    content.text = localizedText(statusTextKey(state, data));
    return content;
  }
  content.stopKey = surroundings.stopKey;
  if (!isRecording) return content;
  content.kind = data.isStreamingShortcutTriggered ? Kind::live : Kind::recording;
  content.text = data.isStreamingShortcutTriggered ? localizedText("recording.dialog.live") : QString();
  return content;
}

QString RecordingDialogReducer::pastedText() {
  return localizedText("recording.dialog.pasted");
}

}  // namespace quillmere
