#include "interface/RecordingDialogReducer.h"

#include <gtest/gtest.h>

#include "support/TestTexts.h"

namespace quillmere {
namespace {

using R = RecordingDialogReducer;
using S = RecordingDialogState;

R::RecordingStateChanged changed(RecordingState state, const QString& text = {}, bool isRetry = false) {
  return {std::move(state), text, isRetry};
}

// What no window shows at once.
TEST(RecordingDialogReducer, FollowsTheRecordingState) {
  S loading, retrying, success, copied, finishing, fromTap, tapOnly;
  loading.isLoading = true;
  retrying.isLoading = retrying.isRetrying = true;
  finishing.isFinishing = true;
  success.showSuccessState = true;
  success.transcribedText = QStringLiteral("Hello");
  copied = success;
  copied.showCopiedFeedback = true;
  tapOnly.usingCancelOverlayEventTap = true;
  fromTap = loading;
  fromTap.usingCancelOverlayEventTap = true;
  const RecordingState recording{RecordingState::Recording{}}, transcribing{RecordingState::Transcribing{}},
      complete{RecordingState::Complete{success.transcribedText}}, idle;
  const struct {
    const char* name;
    S before;
    R::Event event;
    S after;
  } cases[] = {
      {"a new recording forgets the last", copied, changed(recording, success.transcribedText), {}},
      {"the keys of the question stay taken", fromTap, changed(recording), tapOnly},
      {"transcribing once more", {}, changed(transcribing, {}, true), retrying},
      {"arrived", loading, changed(idle, success.transcribedText), success},
      {"idle without having worked", {}, changed(idle, success.transcribedText), {}},
      {"idle without a text", loading, changed(idle), {}},
      {"complete is no end", loading, changed(complete, success.transcribedText), loading},
      {"another dictation took its place", success, R::AttemptBegan{}, {}},
      {"a stop before the recorder runs is remembered", finishing, changed(recording), finishing},
      {"stopped", finishing, changed(transcribing), loading},
      {"a late end of the word that it was copied", success, R::CopiedFeedbackEnded{}, success},
      {"shown while transcribing", copied, R::Appeared{transcribing, true}, retrying},
  };
  for (const auto& [name, before, event, after] : cases) EXPECT_EQ(R::step(before, event).state, after) << name;
}

TEST(RecordingDialogReducer, SaysWhatCanBeDone) {
  const TestTexts texts;
  using Kind = OverlayContent::Kind;
  const R::Surroundings keys{QStringLiteral("Ctrl+D"), QStringLiteral("Esc"), false};
  const R::Surroundings onClipboard{keys.stopKey, keys.cancelKey, true, QStringLiteral("Letters")};
  S success, loading;
  success.showSuccessState = true;
  loading.isLoading = true;
  AppStateData idle, recording, notFetched, typedElsewhere, silent;
  recording.recordingState.kind = RecordingState::Recording{};
  notFetched.transcriptionPasteFailed = true;
  typedElsewhere.transcriptionPasteFailed = true;
  typedElsewhere.lastPaste = PasteOutcome::typedElsewhere;
  typedElsewhere.lastPasteKeys = PasteKeys::shiftInsert;
  silent.dictationNotice = DictationNotice::nothingHeard;
  const struct {
    S state;
    AppStateData data;
    R::Surroundings surroundings;
    Kind kind;
    const char* text;
    bool canCancel, canStop;
  } cases[] = {
      {{}, idle, keys, Kind::starting, "Starting…", true, true},
      {{}, recording, keys, Kind::recording, "", true, true},
      {loading, idle, keys, Kind::working, "Transcribing…", true, false},
      // On its way into the field: nothing to cancel any more, and nothing claimed yet.
      {success, idle, onClipboard, Kind::working, "Pasting…", false, false},
      {success, notFetched, onClipboard, Kind::onClipboard, "On the clipboard: Ctrl+V", false, false},
      {success, typedElsewhere, onClipboard, Kind::onClipboard, "On the clipboard: Shift+Insert", false, false},
      {success, notFetched, keys, Kind::ready, "The text is ready", false, false},
      {{}, silent, keys, Kind::notice, "Nothing heard", false, false},
      {loading, silent, keys, Kind::working, "Transcribing…", true, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const OverlayContent content = R::content(c.state, c.data, c.surroundings);
    EXPECT_EQ(content.kind, c.kind);
    EXPECT_EQ(content.text, QString::fromUtf8(c.text));
    const bool isChoice = content.text.endsWith(QLatin1String("Insert"));
    EXPECT_EQ(content.canPasteHere, isChoice);
    EXPECT_EQ(content.sendTo, isChoice ? QStringLiteral("Letters") : QString());
    EXPECT_EQ(content.cancelKey, c.canCancel ? keys.cancelKey : QString());
    EXPECT_EQ(content.stopKey, c.canStop ? keys.stopKey : QString());
  }
}

}  // namespace
}  // namespace quillmere
