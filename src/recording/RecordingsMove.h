#pragma once
#include <QString>
#include <QStringList>

#include "base/async/Task.h"
#include "base/async/WorkerPool.h"
#include "base/log/Logger.h"
#include "storage/PersistenceController.h"

namespace quillmere {

// Takes the recordings of the history along when their folder changes. Files that no row names, and those of rows that
// are being transcribed, stay. At every moment each row names a file that is there, whether this ends, fails or is
// cancelled; a cancel may leave the old copy of one file. Main thread; files are copied and removed on a worker.
// Everything referred to outlives it.
class RecordingsMove {
 public:
  struct Outcome {
    int moved = 0;   // files
    int stayed = 0;  // files that could not be moved, or are in use
    QString reason;  // why the first of them could not; empty for those in use
  };

  RecordingsMove(PersistenceController& persistence, WorkerPool& fileWorkers, const Logging& logging);

  // How many files of the history lie in the folder itself.
  int count(const QString& folder);
  // `to` can be written to. A failure ends the work: the rest stays where it is.
  Task<Outcome> run(QString from, QString to);

 private:
  QStringList filesIn(const QString& folder);
  // By a transcription, or no longer by any row.
  bool isInUse(const QString& file);
  void rename(const QString& from, const QString& to);
  void leave(Outcome& outcome, const QString& reason) const;

  PersistenceController& persistence_;
  WorkerPool& fileWorkers_;
  Logger log_;
};

}  // namespace quillmere
