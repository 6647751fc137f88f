#include "core/SavedMode.h"

#include "core/AppState.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"

namespace quillmere {

void loadSavedMode(const SettingsManager& settings, PersistenceController& persistence, AppState& appState,
                   const Logger& logger) {
  const auto select = [&](const Mode& mode, LogFormat<QString> line) {
    appState.restoreMode(mode);
    logger.info(line, appState.data().selectedModeName);
  };
  if (const QString id = settings.currentModeId(); !id.isEmpty()) {
    if (const ModePtr mode = persistence.fetchMode(id)) {
      select(*mode, "📝 Loaded saved mode by ID: %s");
      return;
    }
  }
  if (const QString name = settings.currentMode(); !name.isEmpty()) {
    if (const auto mode = persistence.fetchModeByName(name)) {
      select(**mode, "📝 Loaded saved mode by name: %s");
      return;
    }
  }
  if (const ModePtr mode = persistence.fetchDefaultMode()) select(*mode, "📝 Using fallback mode: %s");
}

}  // namespace quillmere
