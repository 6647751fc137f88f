#include "transcripts/ModelPreparation.h"

#include "providers/TranscriptionModelManager.h"
#include "storage/PersistenceController.h"

namespace quillmere {

ModelPreparation::ModelPreparation(Executor& executor, PersistenceController& persistence,
                                   TranscriptionModelManager& models, const Logging& logging)
    : executor_(executor),
      persistence_(persistence),
      models_(models),
      logger_(logging.logger(QStringLiteral("ModelPreparation"))) {}

void ModelPreparation::modeSelected(const QString& modeId) {
  if (preparedModeId_ == modeId) return;
  preparedModeId_ = modeId;
  if (const ModePtr mode = persistence_.fetchMode(modeId)) prepare(mode);
}

void ModelPreparation::prepare(ModePtr mode) {
  logger_.info("Mode changed: %{public}s → model: %{public}s. Preparing model…",
               mode->name.value_or(QStringLiteral("Default")), mode->model.value_or(QStringLiteral("base")));
  preparation_ = std::make_unique<TaskScope>(executor_);
  preparation_->spawn(models_.prepareModel(std::move(mode)));
}

}  // namespace quillmere
