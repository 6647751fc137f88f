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
  S loading, processing, retrying, success, copied, finishing, failed;
  loading.isLoading = true;
  processing.isLoading = processing.isPostProcessing = true;
  retrying.isLoading = retrying.isRetrying = true;
  finishing.isFinishing = failed.hasError = true;
  success.showSuccessState = true;
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
      {"idle without a text", loading, R::RecordingStateChanged{state<RecordingState::Idle>()}, {}, {}},
      {"complete is no end",
       loading,
       R::RecordingStateChanged{state(RecordingState::Complete{hello}), hello},
       loading,
       {}},
      {"an error closes", loading, R::Failed{}, failed, closing},
      {"another dictation took its place", success, R::AttemptBegan{}, {}, {}},
      {"a text about errors is a text",
       loading,
       R::RecordingStateChanged{state<RecordingState::Idle>(), QStringLiteral("Error: none")},
       [&] {
         S s = success;
         s.transcribedText = QStringLiteral("Error: none");
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
      {"stopped by its button", {}, R::FinishRequested{}, finishing, {R::FinishRecording{}}},
      {"stopped once", finishing, R::FinishRequested{}, finishing, {}},
      {"a stop before the recorder runs is remembered",
       finishing,
       R::RecordingStateChanged{state<RecordingState::Recording>()},
       finishing,
       {R::ClearLastDictation{}}},
      {"stopped", finishing, R::RecordingStateChanged{state<RecordingState::Transcribing>()}, loading, {}},
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
  const R::Surroundings keys{QStringLiteral("Ctrl+D"), QStringLiteral("Esc"), false};
  R::Surroundings onClipboard = keys;
  onClipboard.isTextOnClipboard = true;
  S success, loading, again;
  success.showSuccessState = true;
  again = success;
  again.isRetrying = true;
  loading.isLoading = true;
  AppStateData idle, recording, notFetched, tooShort, silent;
  recording.recordingState.kind = RecordingState::Recording{};
  notFetched.transcriptionPasteFailed = true;
  tooShort.dictationNotice = DictationNotice::tooShort;
  silent.dictationNotice = DictationNotice::nothingHeard;
  struct Case {
    S state;
    AppStateData data;
    R::Surroundings surroundings;
    Kind kind;
    const char* text;
    bool canCancel, canStop;
  };
  for (const Case& c : std::initializer_list<Case>{
           {{}, idle, keys, Kind::starting, "Starting…", true, true},
           {{}, recording, keys, Kind::recording, "", true, true},
           {loading, idle, keys, Kind::working, "Transcribing…", true, false},
           // On its way into the field: nothing to cancel any more, and nothing claimed yet.
           {success, idle, onClipboard, Kind::working, "Pasting…", false, false},
           {success, notFetched, onClipboard, Kind::onClipboard, "On the clipboard: Ctrl+V", false, false},
           {success, notFetched, keys, Kind::ready, "The text is ready", false, false},
           {again, idle, onClipboard, Kind::ready, "The text is ready", false, false},
           {{}, tooShort, keys, Kind::notice, "Too short", false, false},
           {{}, silent, keys, Kind::notice, "Nothing heard", false, false},
           {loading, silent, keys, Kind::working, "Transcribing…", true, false},
           {success, silent, onClipboard, Kind::working, "Pasting…", false, false}}) {
    const OverlayContent content = R::content(c.state, c.data, c.surroundings);
    EXPECT_EQ(content.kind, c.kind) << c.text;
    EXPECT_EQ(content.text, QString::fromUtf8(c.text));
    EXPECT_EQ(content.canCancel, c.canCancel) << c.text;
    EXPECT_EQ(content.cancelKey, c.canCancel ? keys.cancelKey : QString()) << c.text;
    EXPECT_EQ(content.stopKey, c.canStop ? keys.stopKey : QString()) << c.text;
    AppStateData asking = c.data;
    asking.showCancelConfirmation = true;
    EXPECT_EQ(R::content(c.state, asking, c.surroundings).kind, Kind::question) << c.text;
  }
}

}  // namespace
}  // namespace quillmere
