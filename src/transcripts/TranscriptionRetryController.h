#pragma once
#include "base/Result.h"
#include "base/async/Task.h"
#include "base/log/Logger.h"
#include "domain/Entities.h"
#include "domain/Errors.h"
#include "domain/TranscriptionResult.h"

namespace quillmere {

class PersistenceController;
class TranscriptRoad;

// Sends the audio of a row of the history over the road once more. A text that is there stays: a completed row keeps
// its own, and the audio gets a row more. Main thread. The caller keeps two retries of one row apart. A cancelled retry
// leaves the row as failed and throws.
class TranscriptionRetryController {
 public:
  TranscriptionRetryController(PersistenceController& persistence, TranscriptRoad& road, const Logging& logging);

  // Under `forcedMode` where there is one, else under the row's own mode. A row without its file stays as it is.
  Task<Result<TranscriptionResult, AnyError>> retry(TranscriptPtr transcript, ModePtr forcedMode = nullptr);

 private:
  ModePtr modeOf(const Transcript& transcript) const;

  PersistenceController& persistence_;
  TranscriptRoad& road_;
  Logger logger_;
};

}  // namespace quillmere
