#pragma once
#include "base/log/Logger.h"

namespace quillmere {

class AppState;
class PersistenceController;
class SettingsManager;

// Selects the mode that the settings name: by identifier, else by name, else the default mode. Stores nothing.
// Main thread.
void loadSavedMode(const SettingsManager& settings, PersistenceController& persistence, AppState& appState,
                   const Logger& logger);

}  // namespace quillmere
