#pragma once
#include "base/Clock.h"
#include "base/async/TaskScope.h"
#include "base/async/WorkerPool.h"
#include "base/log/Logger.h"
#include "storage/PersistenceController.h"

namespace quillmere {

// Keeps the history true and clean: a row on which a killed process worked becomes "failed" with a reason, so that it
// can be retried; a recording that was thrown away goes for good, with its audio, 24 hours later. Main thread; files
// are removed on a worker.
class HistorySweeper {
 public:
  struct Dependencies {
    PersistenceController& persistence;
    Executor& executor;
    WorkerPool& fileWorkers;
    const Clock& clock;
    // Whether the process still runs that a row names as its owner; nothing where that can't be told.
    TranscriptStore::IsProcessAlive isProcessAlive;
  };
  HistorySweeper(Dependencies use, const Logging& logging);

  // Sweeps now and then every hour, as long as this object lives. Later calls do nothing.
  void start();
  // Once. Rows of this process and of other living ones stay as they are. A file that can't be removed keeps its row
  // for the next time. A cancel leaves rows whose files are gone to the next time.
  Task<void> sweep();

 private:
  Task<void> run();
  void endAbandoned();
  Task<void> removeDiscarded();

  Dependencies use_;
  Logger log_;
  bool isStarted_ = false;
  TaskScope scope_;
};

}  // namespace quillmere
