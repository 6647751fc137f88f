#include "interface/RecordingDialogReducer.h"

#include <gtest/gtest.h>

#include "support/TestTexts.h"

namespace quillmere {
namespace {

using R = RecordingDialogReducer;
using S = RecordingDialogState;

template <typename C>
RecordingState state(C kind = {}) {
  return RecordingState{kind};
}

const std::vector<R::Effect> closing{
    R::LogLine{"🔍 closeDialog() called - setting isPresented = false"}, R::ClearPasteFailed{},
    R::LogLine{"🔍 Setting isPresented binding to false (which is bound to appState.showRecordingDialog)"},
    R::HideDialog{}};

std::vector<R::Effect> followedBy(std::vector<R::Effect> first, const std::vector<R::Effect>& then) {
  first.insert(first.end(), then.begin(), then.end());
  return first;
}

TEST(RecordingDialogReducer, FollowsTheRecordingState) {
  const TestTexts texts;
  S loading, processing, retrying, success, copied;
  loading.isLoading = true;
  processing.isLoading = processing.isPostProcessing = true;
  retrying.isLoading = retrying.isRetrying = true;
  success.showSuccessState = success.showTranscription = true;
  success.transcribedText = QStringLiteral("Hello");
  copied = success;
  copied.showCopiedFeedback = true;
  S fromTap = loading;
  fromTap.usingCancelOverlayEventTap = true;
  S tapOnly;
  tapOnly.usingCancelOverlayEventTap = true;
  const QString hello = QStringLiteral("Hello");

  struct Case {
    const char* name;
    S before;
    R::Event event;
    S after;
    std::vector<R::Effect> effects;
  };
  const std::vector<Case> cases{
      {"a new recording forgets the last",
       copied,
       R::RecordingStateChanged{state<RecordingState::Recording>(), hello},
       {},
       {R::ClearLastDictation{}}},
      {"the keys of the question stay taken",
       fromTap,
       R::RecordingStateChanged{state<RecordingState::Recording>()},
       tapOnly,
       {R::ClearLastDictation{}}},
      {"transcribing", {}, R::RecordingStateChanged{state<RecordingState::Transcribing>()}, loading, {}},
      {"transcribing once more",
       {},
       R::RecordingStateChanged{state<RecordingState::Transcribing>(), {}, true},
       retrying,
       {}},
      {"rewriting", loading, R::RecordingStateChanged{state<RecordingState::PostProcessing>()}, processing, {}},
      {"arrived", processing, R::RecordingStateChanged{state<RecordingState::Idle>(), hello}, success, {}},
      {"idle without having worked", {}, R::RecordingStateChanged{state<RecordingState::Idle>(), hello}, {}, {}},
      {"idle without a text", loading, R::RecordingStateChanged{state<RecordingState::Idle>()}, loading, {}},
      {"complete is no end",
       loading,
       R::RecordingStateChanged{state(RecordingState::Complete{hello}), hello},
       loading,
       {}},
      {"an error closes",
       loading,
       R::RecordingStateChanged{state<RecordingState::Idle>(), QStringLiteral("Error: no luck")},
       {},
       followedBy({R::ReportError{QStringLiteral("no luck"), false}}, closing)},
      {"an error of the account",
       loading,
       R::RecordingStateChanged{state<RecordingState::Idle>(), QStringLiteral("Error: QUOTA exceeded")},
       {},
       followedBy({R::ReportError{QStringLiteral("QUOTA exceeded"), true}}, closing)},
      {"a text about errors is a text",
       loading,
       R::RecordingStateChanged{state<RecordingState::Idle>(), QStringLiteral("An Error: none")},
       [&] {
         S s = success;
         s.transcribedText = QStringLiteral("An Error: none");
         return s;
       }(),
       {}},
      {"asked", {}, R::CancelConfirmationChanged{true}, {}, {R::StartCancelOverlay{}}},
      {"answered", tapOnly, R::CancelConfirmationChanged{false}, {}, {R::StopCancelOverlay{}}},
      {"dismissed", {}, R::QuestionDismissed{}, {}, {R::HideQuestion{}}},
      {"a recording is cancelled",
       {},
       R::CancelConfirmed{false},
       {},
       followedBy(followedBy({R::HideQuestion{}, R::ForgetTranscription{}, R::StopRecording{}}, closing),
                  {R::LogLine{"❌ Recording/transcription cancelled from dialog"}})},
      {"a transcription is cancelled",
       loading,
       R::CancelConfirmed{true},
       {},
       followedBy(followedBy({R::HideQuestion{}, R::ForgetTranscription{}, R::CancelTranscription{}}, closing),
                  {R::LogLine{"❌ Recording/transcription cancelled from dialog"}})},
      {"copied", success, R::TextCopied{}, copied, {R::StartCopiedFeedbackTimer{}}},
      {"the word that it was copied leaves", copied, R::CopiedFeedbackEnded{}, {}, closing},
      {"a late end of it does nothing", success, R::CopiedFeedbackEnded{}, success, {}},
      {"closed", success, R::CloseRequested{}, {}, closing},
      {"shown while transcribing", copied, R::Appeared{state<RecordingState::Transcribing>(), true}, retrying, {}},
  };
  for (const Case& c : cases) {
    const R::Step step = R::step(c.before, c.event);
    EXPECT_EQ(step.state, c.after) << c.name;
    EXPECT_EQ(step.effects, c.effects) << c.name;
  }
}

TEST(RecordingDialogReducer, NamesWhatRuns) {
  using Kind = StreamingConnectionState::Kind;
  S plain, processing, retrying;
  processing.isPostProcessing = true;
  retrying = processing;
  retrying.isRetrying = true;
  struct Case {
    S state;
    bool isStreaming;
    Kind connection;
    const char* key;
  };
  for (const Case& c : {Case{plain, false, Kind::idle, "recording.loading.transcribing"},
                        Case{processing, false, Kind::idle, "recording.loading.postprocessing"},
                        Case{retrying, false, Kind::streaming, "recording.loading.retrying"},
                        Case{retrying, true, Kind::streaming, "streaming.loading.streaming"},
                        Case{plain, true, Kind::ready, "streaming.loading.ready"},
                        Case{plain, true, Kind::connecting, "streaming.loading.connecting"},
                        Case{plain, true, Kind::idle, "recording.loading.starting"},
                        Case{processing, true, Kind::error, "recording.loading.starting"}}) {
    AppStateData data;
    data.isStreamingShortcutTriggered = c.isStreaming;
    data.streamingConnectionState.kind = c.connection;
    EXPECT_EQ(R::statusTextKey(c.state, data), QLatin1String(c.key));
  }
}

TEST(RecordingDialogReducer, ShowsTheQuestionAboveEverything) {
  const TestTexts texts;
  using Kind = OverlayContent::Kind;
  S success, loading;
  success.showSuccessState = true;
  loading.isLoading = true;
  AppStateData idle, recording, failed;
  idle.showRecordingDialog = recording.showRecordingDialog = failed.showRecordingDialog = true;
  recording.recordingState.kind = RecordingState::Recording{};
  failed.transcriptionPasteFailed = true;
  const QString esc = QStringLiteral("Esc");
  EXPECT_EQ(R::content({}, idle, esc, false).kind, Kind::starting);
  EXPECT_EQ(R::content({}, recording, esc, false).kind, Kind::recording);
  EXPECT_EQ(R::content(loading, idle, esc, false),
            (OverlayContent{Kind::working, QStringLiteral("Transcribing…"), esc}));
  // On its way into the field: nothing to cancel any more, and nothing claimed yet.
  EXPECT_EQ(R::content(success, idle, esc, true), (OverlayContent{Kind::working, QStringLiteral("Pasting…"), {}}));
  EXPECT_EQ(R::content(success, failed, esc, true).kind, Kind::onClipboard);
  EXPECT_EQ(R::content(success, failed, esc, false).kind, Kind::ready);
  S again = success;
  again.isRetrying = true;
  EXPECT_EQ(R::content(again, idle, esc, true).kind, Kind::ready) << "nothing pastes it";
  for (AppStateData data : {idle, recording, failed}) {
    data.showCancelConfirmation = true;
    for (const S& state : {S{}, success, loading}) EXPECT_EQ(R::content(state, data, esc, true).kind, Kind::question);
  }
}

}  // namespace
}  // namespace quillmere
