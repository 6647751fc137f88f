#include "interface/RecordingDialogReducer.h"

#include "base/text/LocalizedText.h"
#include "core/AppState.h"

namespace quillmere {
namespace {

using R = RecordingDialogReducer;

const QLatin1String errorMark("Error:");

R::Step closed(RecordingDialogState state, std::vector<R::Effect> effects) {
  effects.push_back(R::LogLine{"🔍 closeDialog() called - setting isPresented = false"});
  effects.push_back(R::ClearPasteFailed{});
  effects.push_back(
      R::LogLine{"🔍 Setting isPresented binding to false (which is bound to appState.showRecordingDialog)"});
  effects.push_back(R::HideDialog{});
  RecordingDialogState fresh;
  fresh.usingCancelOverlayEventTap = state.usingCancelOverlayEventTap;
  return {fresh, std::move(effects)};
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
      RecordingDialogState fresh;
      fresh.usingCancelOverlayEventTap = state.usingCancelOverlayEventTap;
      return {fresh, {R::ClearLastDictation{}}};
    }
    if (event.state.is<RecordingState::Transcribing>()) {
      state.isLoading = true;
      state.isRetrying = event.isRetry;
      return {state, {}};
    }
    if (event.state.is<RecordingState::PostProcessing>()) {
      state.isPostProcessing = true;
      return {state, {}};
    }
    if (!event.state.is<RecordingState::Idle>() || !(state.isLoading || state.isPostProcessing) ||
        event.lastTranscription.isEmpty())
      return {state, {}};
    if (event.lastTranscription.startsWith(errorMark)) {
      state.hasError = true;
      const QString message = R::errorText(event.lastTranscription);
      return closed(state, {R::ReportError{message, AppState::isCriticalMessage(event.lastTranscription)}});
    }
    state.isLoading = state.isPostProcessing = false;
    state.transcribedText = event.lastTranscription;
    state.showTranscription = true;
    state.showSuccessState = true;
    return {state, {}};
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
                                               const QString& cancelKey, bool isTextOnClipboard) {
  using Kind = OverlayContent::Kind;
  if (data.showCancelConfirmation) return {Kind::question, localizedText("recording.dialog.cancel.question"), {}};
  if (state.showSuccessState) {
    if (state.showCopiedFeedback) return {Kind::pasted, localizedText("recording.dialog.copied"), {}};
    if (data.transcriptionPasteFailed && isTextOnClipboard)
      return {Kind::onClipboard, localizedText("recording.dialog.onClipboard"), {}};
    // What was transcribed once more isn't pasted.
    if (data.transcriptionPasteFailed || state.isRetrying)
      return {Kind::ready, localizedText("recording.dialog.ready"), {}};
    // The text is on its way to the field.
    return {Kind::working, localizedText("recording.dialog.pasting"), {}};
  }
  if (state.isLoading || state.isPostProcessing || data.recordingState.is<RecordingState::Processing>())
    return {Kind::working, localizedText(statusTextKey(state, data)), cancelKey};
  if (data.recordingState.is<RecordingState::Recording>()) {
    if (!data.isStreamingShortcutTriggered) return {Kind::recording, {}, cancelKey};
    if (data.streamingConnectionState.kind == StreamingConnectionState::Kind::streaming)
      return {Kind::live, localizedText("recording.dialog.live"), cancelKey};
    return {Kind::working, localizedText(statusTextKey(state, data)), cancelKey};
  }
  return {Kind::starting, localizedText("recording.loading.starting"), cancelKey};
}

QString RecordingDialogReducer::pastedText() {
  return localizedText("recording.dialog.pasted");
}

QString RecordingDialogReducer::errorText(const QString& lastTranscription) {
  QString message = lastTranscription;
  if (message.startsWith(QLatin1String("Error: ")))
    message.remove(0, 7);
  else if (message.startsWith(errorMark))
    message.remove(0, errorMark.size());
  if (message == QLatin1String("No internet connection")) return localizedText("recording.dialog.error.offline");
  if (message == QLatin1String("Audio file could not be read"))
    return localizedText("recording.dialog.error.unreadable");
  if (message == QLatin1String("Audio file missing for retry")) return localizedText("recording.dialog.error.missing");
  return message;
}

}  // namespace quillmere
