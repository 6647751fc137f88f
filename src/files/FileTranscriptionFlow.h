#pragma once
#include <QString>
#include <filesystem>
#include <functional>
#include <optional>

#include "audio/AudioFileConverter.h"
#include "base/Clock.h"
#include "base/async/Task.h"
#include "base/async/TaskScope.h"
#include "base/async/WorkerPool.h"
#include "base/log/Logger.h"
#include "domain/TranscriptionResult.h"
#include "files/FileTranscriptionError.h"
#include "files/FileTranscriptionPresenter.h"
#include "files/FileTranscriptionProgress.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "transcripts/TranscriptRoad.h"

namespace quillmere {

// How one file ended.
struct FileTranscriptionOutcome {
  enum class Kind { completed, cancelled, failed };
  Kind kind = Kind::cancelled;
  TranscriptPtr transcript;  // the history's row, once there is one
  std::optional<TranscriptionResult> result;
  double audioDurationSeconds = 0;
  std::optional<FileTranscriptionError> refusal;  // kind failed: this one ...
  std::optional<AnyError> error;                  // ... or this one
};

// Takes an existing audio or video file to the road: checks it, copies it into the recordings folder, of a video only
// the sound, and shows how far it is. One file at a time; main thread, long steps suspend. cancel() ends a run at
// its next suspension; so does cancelling the task that awaits transcribe(). Without a row the copy goes with it; with
// one the row is "failed" and the copy is there for a retry. Everything referred to outlives the flow; the pointers may
// be null where a part is missing.
class FileTranscriptionFlow {
 public:
  struct Dependencies {
    Executor& executor;
    const Clock& clock;
    WorkerPool& workers;
    PersistenceController& persistence;
    SettingsManager& settings;
    AudioFileConverter& converter;
    TranscriptRoad& road;
    FileTranscriptionPresenter* presenter = nullptr;
    // How long a full bar stays up for the eye. A terminal needs none.
    Duration completionLinger = std::chrono::milliseconds(500);
  };

  FileTranscriptionFlow(Dependencies dependencies, const Logging& logging);
  ~FileTranscriptionFlow();

  Task<FileTranscriptionOutcome> transcribe(std::filesystem::path file, ModePtr mode);
  void cancel();

  FileTranscriptionProgress& progressState() { return progressState_; }
  void setPresenter(FileTranscriptionPresenter* presenter) { use_.presenter = presenter; }

 private:
  Task<FileTranscriptionOutcome> run(std::filesystem::path file, ModePtr mode);
  Task<Result<void, AnyError>> work(std::filesystem::path file, ModePtr mode, FileTranscriptionOutcome& outcome);
  Result<QString, FileTranscriptionError> recordingsFolder() const;
  Task<Result<QString, FileTranscriptionError>> copyIntoRecordings(std::filesystem::path file);
  Task<Result<QString, AnyError>> takeSound(QString video, QString name, FileTranscriptionOutcome& outcome);
  Task<void> throwIfStopped();
  Task<Result<void, AnyError>> takeRoad(QString audioPath, ModePtr mode, FileTranscriptionOutcome& outcome);
  void enter(TranscriptJob::Stage stage);
  void removeCopy();
  void hideAndReset();
  void animate(float target, double seconds);

  Dependencies use_;
  Logger logger_;
  FileTranscriptionProgress progressState_;
  std::optional<QString> currentCopiedFilePath_;  // until it belongs to a row
  TaskHandle<FileTranscriptionOutcome> currentTranscriptionTask_;
  TaskScope scope_;
};

}  // namespace quillmere
