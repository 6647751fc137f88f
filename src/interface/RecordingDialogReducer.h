#pragma once
#include <QString>
#include <variant>
#include <vector>

#include "base/log/LogFormat.h"
#include "core/AppStateData.h"
#include "interface/RecordingDialogState.h"
#include "interface/RecordingPanel.h"

namespace quillmere {

// The recording dialog as a pure function of its state and what happens. RecordingDialog performs the effects in order.
class RecordingDialogReducer {
 public:
  // --- events
  struct Appeared {  // the dialog is shown while this is the state
    RecordingState state;
    bool isRetry = false;
  };
  struct RecordingStateChanged {
    RecordingState state;
    QString lastTranscription = {};  // as it is when the change is looked at; texts only
    bool isRetry = false;            // an earlier recording is transcribed once more
  };
  struct AttemptBegan {};  // another dictation took the place of the one whose text is shown
  struct Failed {};        // the dictation ended with an error, which others tell the user
  struct CancelConfirmationChanged {
    bool isShown = false;
  };
  struct CancelOverlayStarted {
    bool isTap = false;  // false: the local keys have to do
  };
  struct CancelConfirmed {
    bool isTranscriptionRunning = false;
  };
  struct QuestionDismissed {};
  struct FinishRequested {};
  struct CancelRequested {};
  struct TextCopied {};
  struct CopiedFeedbackEnded {};
  struct CloseRequested {};
  using Event = std::variant<Appeared, RecordingStateChanged, AttemptBegan, Failed, CancelConfirmationChanged,
                             CancelOverlayStarted, CancelConfirmed, QuestionDismissed, FinishRequested, CancelRequested,
                             TextCopied, CopiedFeedbackEnded, CloseRequested>;

  // --- effects
  struct ClearLastDictation {  // last transcription, streaming text, streaming, failed paste
    bool operator==(const ClearLastDictation&) const = default;
  };
  struct StartCancelOverlay {
    bool operator==(const StartCancelOverlay&) const = default;
  };
  struct StopCancelOverlay {
    bool operator==(const StopCancelOverlay&) const = default;
  };
  struct HideQuestion {
    bool operator==(const HideQuestion&) const = default;
  };
  struct ForgetTranscription {  // last transcription and failed paste
    bool operator==(const ForgetTranscription&) const = default;
  };
  struct ClearPasteFailed {
    bool operator==(const ClearPasteFailed&) const = default;
  };
  struct FinishRecording {
    bool operator==(const FinishRecording&) const = default;
  };
  struct Cancel {
    bool operator==(const Cancel&) const = default;
  };
  struct CancelTranscription {
    bool operator==(const CancelTranscription&) const = default;
  };
  struct StopRecording {
    bool operator==(const StopRecording&) const = default;
  };
  struct StartCopiedFeedbackTimer {
    bool operator==(const StartCopiedFeedbackTimer&) const = default;
  };
  struct HideDialog {  // on the main queue: after what happens now
    bool operator==(const HideDialog&) const = default;
  };
  struct LogLine {
    LogFormat<> format;
    bool operator==(const LogLine&) const = default;
  };
  using Effect = std::variant<ClearLastDictation, StartCancelOverlay, StopCancelOverlay, HideQuestion,
                              ForgetTranscription, ClearPasteFailed, FinishRecording, Cancel, CancelTranscription,
                              StopRecording, StartCopiedFeedbackTimer, HideDialog, LogLine>;

  struct Step {
    RecordingDialogState state;
    std::vector<Effect> effects;
  };

  static Step step(const RecordingDialogState& state, const Event& event);

  // The key of the status text.
  static QString statusTextKey(const RecordingDialogState& state, const AppStateData& data);
  // What the pill shows.
  struct Surroundings {
    QString stopKey;
    QString cancelKey;
    bool isTextOnClipboard = false;  // a delivery that didn't reach a field left the text there
    QString targetName = {};         // the program that the text was spoken for
  };
  static OverlayContent content(const RecordingDialogState& state, const AppStateData& data,
                                const Surroundings& surroundings);
  static QString pastedText();
};

}  // namespace quillmere
