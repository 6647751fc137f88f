#pragma once
#include "base/Clock.h"
#include "base/Result.h"
#include "base/async/Task.h"
#include "base/log/Logger.h"
#include "domain/Entities.h"
#include "domain/Errors.h"
#include "domain/TranscriptionResult.h"

namespace quillmere {

class PersistenceController;
class SettingsManager;
class Transcriber;
class VADProcessing;

// Runs a stored transcript's audio through the pipeline once more and writes the outcome on the transcript. Main
// thread. The caller keeps two retries of one transcript apart. A cancelled retry marks the transcript as failed and
// throws.
class TranscriptionRetryController {
 public:
  // `settings` and `vad` may be null: then nothing is trimmed.
  TranscriptionRetryController(PersistenceController& persistence, const SettingsManager* settings, VADProcessing* vad,
                               const Clock& clock, const Logging& logging);
  void setTranscriber(Transcriber* transcriber) { transcriber_ = transcriber; }

  // Under `forcedMode` where there is one, else under the transcript's own mode.
  Task<Result<TranscriptionResult, AnyError>> retry(TranscriptPtr transcript, ModePtr forcedMode = nullptr);

 private:
  Task<Result<TranscriptionResult, AnyError>> run(TranscriptPtr transcript, ModePtr mode);
  void markFailed(const TranscriptPtr& transcript, const QString& description);

  PersistenceController& persistence_;
  const SettingsManager* settings_;
  VADProcessing* vad_;
  const Clock& clock_;
  Logger logger_;
  Transcriber* transcriber_ = nullptr;
};

}  // namespace quillmere
