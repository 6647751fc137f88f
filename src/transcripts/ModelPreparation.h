#pragma once
#include <QString>
#include <memory>

#include "base/async/TaskScope.h"
#include "base/log/Logger.h"
#include "domain/Entities.h"

namespace quillmere {

class PersistenceController;
class TranscriptionModelManager;

// Has the model of the selected mode ready before it is asked for. The newest request wins: it ends the wait or the
// load of the one before, and never a transcription. Main thread.
class ModelPreparation {
 public:
  // What is given outlives this object.
  ModelPreparation(Executor& executor, PersistenceController& persistence, TranscriptionModelManager& models,
                   const Logging& logging);

  // The mode with this identifier was selected. Nothing happens for the one that was prepared last.
  void modeSelected(const QString& modeId);
  // Prepares this mode whatever was prepared before: its model may have been changed.
  void prepare(ModePtr mode);

 private:
  Executor& executor_;
  PersistenceController& persistence_;
  TranscriptionModelManager& models_;
  Logger logger_;
  QString preparedModeId_;
  std::unique_ptr<TaskScope> preparation_;  // of the newest request; last: its task uses the fields above
};

}  // namespace quillmere
