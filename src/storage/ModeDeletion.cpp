#include "storage/ModeDeletion.h"

namespace quillmere {

Result<ModeDeletionOutcome, LastModeRefusal> deleteModeAndReferences(PersistenceController& persistence,
                                                                     SettingsManager& settings, const Logging& logging,
                                                                     const ModePtr& mode,
                                                                     const std::optional<QUuid>& selectedModeId) {
  const Logger log = logging.logger("coredata");
  const std::optional<QUuid> id = mode->id;
  TRY_OK(persistence.deleteMode(mode));
  if (id) settings.setDefaultModel(id->toString(QUuid::WithoutBraces), std::nullopt);
  ModeDeletionOutcome outcome;
  if (!id || id != selectedModeId) return outcome;
  const std::vector<ModePtr> remaining = persistence.fetchAllModes();
  if (remaining.empty()) {
    log.info("Deleted last mode, cleared mode selection");
    outcome.selection = ModeDeletionOutcome::Selection::cleared;
    return outcome;
  }
  outcome.selection = ModeDeletionOutcome::Selection::switched;
  outcome.newSelection = remaining.front();
  log.info("Deleted selected mode, switched to first remaining mode: %s",
           outcome.newSelection->name.value_or(QString()));
  return outcome;
}

}  // namespace quillmere
