#pragma once
#include <QString>
#include <QVariantMap>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/Published.h"
#include "base/async/CancelToken.h"
#include "base/async/Completion.h"
#include "base/async/TaskScope.h"
#include "base/log/Logger.h"
#include "core/DictationTimings.h"
#include "core/PreflightCheckpoints.h"
#include "core/RecordingTranscriptionFlowServices.h"
#include "domain/ApplicationContext.h"
#include "domain/Entities.h"
#include "domain/Errors.h"
#include "domain/ProcessedTag.h"
#include "domain/States.h"
#include "domain/TranscriptionResult.h"
#include "ports/AudioRecorder.h"
#include "ports/CrashReporter.h"
#include "ports/Workspace.h"

namespace quillmere {

struct AppStateData;

// One dictation from trigger to pasted text: decides what a press means, starts the recorder first and looks at keys,
// storage and context behind it, and takes a finished recording through trimming, transcription, storing and pasting.
// Main thread. docs/dictation.md has the states and what each event does in them.
//
// Cancelling. A new press "cancels" the task of the press before it, but that counts at a few named places only: before
// the task has begun, before it stops or starts, and in the short sleeps while a finished file becomes readable. All
// other work goes on to its end: a start under way must leave a recorder that runs or none, a stop under way must
// leave its audio with a transcript. So the tasks live in the flow's own scope, nobody ever calls cancel() on them
// (which would break every wait), and each press has a CancelSource of its own that is looked at in those places.
// A running transcription is ended through the pipeline. Cancelling a caller of one of the tasks below ends the
// waiting, never the work.
class RecordingTranscriptionFlow final {
 public:
  // A recording below one of them is thrown away.
  static constexpr double minimumDurationSeconds = 1.0;
  static constexpr qint64 minimumFileSizeBytes = 5000;

  RecordingTranscriptionFlow(RecordingTranscriptionFlowServices services, const Logging& logging);
  // Ends every task where it waits. A recorder that runs is its lifecycle's to end; see shutDown().
  ~RecordingTranscriptionFlow();
  RecordingTranscriptionFlow(const RecordingTranscriptionFlow&) = delete;
  RecordingTranscriptionFlow& operator=(const RecordingTranscriptionFlow&) = delete;

  // The one entry of the triggers: starts, or stops what runs. With `stopOnly` what runs is thrown away and nothing
  // starts. Returns at once. Without a name the selected mode is meant.
  void toggleRecording(std::optional<QString> modeName, bool stopOnly, RecordingTriggerSource trigger);
  // Throws away what runs; where that is more than 15 s of speech it asks first (showCancelConfirmation).
  void cancelFromShortcut();
  // Transcribes the application state's pendingRetryAudioPath again. The text goes to the dialog, nothing is pasted.
  Task<void> retryPendingTranscription();

  // What a toggle runs. They never fail: what goes wrong is shown and reported.
  Task<void> startRecording(QString modeName);
  Task<void> stopRecording(QString modeName, bool cancelled);

  // The end of the application: no press counts any more. A running recording is stopped and gets a transcript with
  // the status "failed", from which the history can transcribe it; a transcription under way ends the same way. Returns
  // when nothing is left to be lost; a file that takes more than 10 s to be finished is left to the recovery.
  Task<void> shutDown();

  // Live dictation isn't there yet: a start by the streaming shortcut says so and ends.
  bool isStreamingActive() const { return false; }
  const std::optional<QString>& currentRecordingAttemptId() const { return currentRecordingAttemptId_; }
  RecordingTriggerSource currentRecordingTriggerSource() const { return currentRecordingTriggerSource_; }
  std::optional<qint64> previousFrontmostPID() const {
    return previousFrontmost_ ? std::optional(previousFrontmost_->processId) : std::nullopt;
  }
  const std::optional<QString>& previousFrontmostBundleID() const { return previousFrontmostBundleID_; }
  const std::optional<ApplicationContext>& capturedApplicationContext() const { return capturedApplicationContext_; }
  const std::optional<QString>& capturedSelectedText() const { return capturedSelectedText_; }

  // Of the newest dictation that ended with a text or with a failed transcription; set when its paste is over.
  Published<std::optional<DictationTimings>>& lastTimings() { return lastTimings_; }

 private:
  // One press.
  struct Toggle {
    CancelSource cancel;
    TimePoint pressedAt;
  };
  // What is known of a recording when it begins.
  struct Started {
    DictationTimings timings;
    std::optional<TimePoint> pressedAt;
  };
  // One recording on its way from the stop to the text.
  struct Dictation {
    QString audioPath;
    double durationSeconds = 0;
    QString modeName;
    RecordingSessionPtr session;
    TimePoint stoppedAt;
    TimePoint textAt;
    DictationTimings timings;
    ModePtr mode;
    TranscriptPtr transcript;
    std::optional<RunningApplication> target;  // where the text goes
  };
  // How the wait for a finished file ended.
  struct FileWait {
    bool isReadable = false;
    std::optional<AnyError> watcherError;  // why the slower checks were needed
  };
  // A recording whose audio is neither in a transcript nor thrown away yet.
  class StopUnderWay {
   public:
    explicit StopUnderWay(RecordingTranscriptionFlow& flow);
    StopUnderWay(const StopUnderWay&) = delete;
    StopUnderWay& operator=(const StopUnderWay&) = delete;
    ~StopUnderWay() { end(); }
    void end();

   private:
    RecordingTranscriptionFlow* flow_;
  };

  // --- presses, and what all parts share
  Task<void> runToggle(std::shared_ptr<Toggle> toggle, std::optional<QString> modeName, bool stopOnly);
  Task<void> runToItsEnd(Task<void> work);
  void onInterrupted();
  Task<void> finishInterruptedRecording();
  Task<void> finishEverything();
  Task<void> keepUntranscribed(std::shared_ptr<StopUnderWay> underWay);
  void keepAsClosed(const TranscriptPtr& transcript);
  void updateState(const std::function<void(AppStateData&)>& change);
  void setRecordingState(RecordingState state);
  QString selectedModeName(const QString& otherwise) const;
  ModePtr modeNamed(const QString& name);
  QString recordingsFolder() const;
  bool isRecording() const;
  void clearAttempt();
  void enableCancelShortcut();
  void disableCancelShortcut();
  // Of a dictation that pastes nothing: what the clipboard held before goes back. Left to a newer recording, if any.
  QString attemptText() const;
  void leaveBreadcrumb(const QString& message, const QString& category, ReportLevel level, const QVariantMap& data);

  // --- from a press to a recording that is validated
  Task<void> start(QString modeName, TimePoint pressedAt);
  void refuseStreaming();
  void noteFrontmostApplication();
  Task<void> validateInBackground(ModePtr mode, PreflightCheckpoints checkpoints);
  Task<std::optional<QString>> checkAPIKeys(ModePtr mode);
  Task<std::optional<QString>> checkStorage();
  Task<void> failValidation(QString text);
  // Without an error the start was cancelled.
  void failStart(const std::optional<AnyError>& error);
  void reportFailedStart(const AnyError& error);

  // --- from the stop to a text
  Task<void> stop(QString modeName, bool cancelled, CancelToken press, TimePoint pressedAt);
  void discard(const Dictation& dictation, qint64 fileSizeBytes,
               const std::optional<AudioRecorder::Interruption>& interruption);
  Task<FileWait> waitUntilReadable(QString path, CancelToken press);
  void failUnreadable(const Dictation& dictation);
  void failWatching(const Dictation& dictation, const AnyError& error);
  void failBeforeTranscription(const Dictation& dictation, const QString& reason, const QString& text);
  void endCancelled();
  Task<void> transcribe(std::shared_ptr<Dictation> dictation, QString finalAudioPath);
  void leaveTranscriptionBreadcrumb(const Dictation& dictation, const QString& path);

  // --- from the text to the cursor
  void deliver(const std::shared_ptr<Dictation>& dictation, const TranscriptionResult& result);
  Task<void> paste(std::shared_ptr<Dictation> dictation, QString text, std::vector<ProcessedTag> tags);
  void endSilently();
  void failTranscription(const Dictation& dictation, const AnyError& error);
  void keepFailedTranscript(const TranscriptPtr& transcript, const QString& reason, const QString& text);
  Task<void> retry();
  void publishTimings(Dictation& dictation);

  RecordingTranscriptionFlowServices use_;
  Logger logger_;
  std::shared_ptr<Toggle> toggleTask_;  // of the newest press; stays when its task has ended
  std::optional<QString> currentRecordingAttemptId_;
  RecordingTriggerSource currentRecordingTriggerSource_ = RecordingTriggerSource::unknown;
  std::optional<RunningApplication> previousFrontmost_;
  std::optional<QString> previousFrontmostBundleID_;
  std::optional<ApplicationContext> capturedApplicationContext_;
  std::optional<QString> capturedSelectedText_;
  Started started_;  // of the newest recording, until its stop takes it
  Published<std::optional<DictationTimings>> lastTimings_;
  std::vector<TranscriptPtr> unfinished_;  // rows whose transcription is under way
  int stopsUnderWay_ = 0;                  // stops whose audio has no transcript yet
  std::vector<Completion<>> noStopsLeft_;  // of those that wait for that count to fall to none
  bool hasRegisteredCancelShortcut_ = false;
  bool isShutDown_ = false;
  TaskScope scope_;  // last: its tasks use the fields above
};

}  // namespace quillmere
