#pragma once
#include <QString>
#include <QVariantMap>
#include <memory>
#include <optional>
#include <vector>

#include "base/async/Completion.h"
#include "base/async/TaskScope.h"
#include "base/log/Logger.h"
#include "core/DictationHost.h"
#include "core/DictationServices.h"
#include "core/DictationTimings.h"
#include "core/PreflightCheckpoints.h"
#include "core/PressReducer.h"
#include "domain/ApplicationContext.h"
#include "domain/Entities.h"
#include "domain/Errors.h"
#include "domain/ProcessedTag.h"
#include "domain/States.h"
#include "domain/TranscriptionResult.h"
#include "ports/AudioRecorder.h"
#include "ports/CrashReporter.h"
#include "ports/Workspace.h"
#include "recording/PowerActivityManager.h"
#include "recording/RecordingLifecycle.h"
#include "recording/RecordingStopResult.h"
#include "transcripts/TranscriptRoad.h"

namespace quillmere {

class ClipboardLoan;
class TypingWatch;

// One dictation from the press to the pasted text, with all that belongs to it: where the text goes, mode, context,
// selection, what the clipboard held, the sleep lock, the row, the timings. All of it is given back when the object
// goes. Several may be under way; none changes anything of another. Main thread.
//
// Nothing that was said is lost: from the moment the recorder runs, its end is one of a row "completed", a row
// "failed", a row "discarded" (the user threw it away), or a file too short to be anything, which is deleted.
class Dictation final {
 public:
  struct Beginning {
    PressReducer::DictationId number = 0;
    RecordingTriggerSource trigger = RecordingTriggerSource::unknown;
    std::optional<QString> modeName;  // without one the selected mode is meant
    TimePoint pressedAt;
  };
  // How the recording is to end.
  enum class Ending {
    transcribe,
    discard,  // thrown away by the user
    keep,     // the application ends: a row that can be transcribed later
  };

  // `services` and `host` outlive the dictation.
  Dictation(const DictationServices& services, DictationHost& host, Beginning beginning, const Logger& logger);
  ~Dictation();
  Dictation(const Dictation&) = delete;
  Dictation& operator=(const Dictation&) = delete;

  // The whole road; runs once. It never fails: what goes wrong is told to the user and kept in a row. Not to be
  // cancelled as a task: see end() and cancelTranscription().
  Task<void> run();
  // Ends the recording, also one that is still to begin (then nothing is kept of it). A later call may turn a recording
  // that is being finished into a discarded one.
  void end(Ending ending, TimePoint at);
  // The text is not wanted; the row stays as "failed" with its audio.
  void cancelTranscription();
  // The application ends: what can be finished quickly is kept in a row.
  void close();

  PressReducer::DictationId number() const { return beginning_.number; }
  const QString& attemptId() const { return attemptId_; }
  RecordingTriggerSource trigger() const { return beginning_.trigger; }
  const std::optional<RunningApplication>& target() const { return target_; }
  // When it ends: whether the pill has something left to say.
  bool leavesPill() const { return leavesPill_; }
  const std::optional<DictationTimings>& finalTimings() const { return finalTimings_; }

 private:
  struct FileWait;

  // --- from the press to a recorder that runs
  Task<bool> start();
  bool checkMode();
  Task<bool> startRecorder();
  void failStart(const AnyError& error);
  void reportFailedStart(const AnyError& error);
  bool wantsContext() const;
  Task<void> captureContext(PreflightCheckpoints checkpoints);
  Task<void> watchStorage(PreflightCheckpoints checkpoints);

  // --- from the stop to finished audio
  Task<bool> finishRecording();
  void tooShort(const std::optional<AudioRecorder::Interruption>& interruption);
  Task<FileWait> waitUntilReadable();
  void failUnreadable(const FileWait& wait);
  TranscriptPtr makeRow(const QString& status);
  void discardRow();
  void keepAsClosed(const TranscriptPtr& row);

  // --- from the audio to the text and the cursor
  Task<void> transcribe();
  ModePtr modeAtEnd() const;
  void noteTimings(const TranscriptOutcome& outcome);
  Task<void> borrowClipboard();
  void failTranscription(const AnyError& error);
  Task<void> deliver(TranscriptionResult result);
  Task<void> paste(QString text, std::vector<ProcessedTag> tags);
  void endTimings();

  void tell(const QString& message, bool isCritical, bool isNetwork = false);
  void notice(DictationNotice notice, const QString& toast);
  QString modeName() const;
  void leaveBreadcrumb(const QString& message, const QString& category, ReportLevel level, QVariantMap data) const;

  const DictationServices& use_;
  DictationHost& host_;
  const Beginning beginning_;
  const QString attemptId_;
  Logger logger_;
  std::optional<PowerActivityManager::Hold> awake_;
  QString modeId_;
  ModePtr mode_;
  std::optional<RunningApplication> target_;  // where the user was at the press
  std::optional<ApplicationContext> context_;
  std::optional<QString> selectedText_;
  std::shared_ptr<TypingWatch> typing_;  // and whether he types elsewhere since
  std::shared_ptr<ClipboardLoan> clipboard_;
  std::optional<Ending> ending_;
  Completion<> endAsked_;
  TimePoint endedAt_{};
  RecordingStopResult recording_;
  TranscriptPtr row_;
  bool isClosing_ = false;
  bool isTextWanted_ = true;
  bool leavesPill_ = false;
  DictationTimings timings_;
  TimePoint textAt_{};
  std::optional<DictationTimings> finalTimings_;
  TaskHandle<TranscriptOutcome> roadTask_;
  TaskHandle<Result<StartedRecording, AnyError>> startTask_;
  TaskScope scope_;  // last: its tasks use the fields above
};

}  // namespace quillmere
