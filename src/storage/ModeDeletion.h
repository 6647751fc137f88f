#pragma once
#include <optional>

#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"

namespace quillmere {

// What the deletion of a mode does to the selection.
struct ModeDeletionOutcome {
  enum class Selection { unchanged, cleared, switched };
  Selection selection = Selection::unchanged;
  ModePtr newSelection;  // with `switched`
};

// Deletes a mode with everything that hangs on it: its row, its entry in the setting defaultModelByMode, and, if it was
// the selected one, names the mode to select instead (the caller selects it). The last mode is refused.
Result<ModeDeletionOutcome, LastModeRefusal> deleteModeAndReferences(PersistenceController& persistence,
                                                                     SettingsManager& settings, const Logging& logging,
                                                                     const ModePtr& mode,
                                                                     const std::optional<QUuid>& selectedModeId);

}  // namespace quillmere
