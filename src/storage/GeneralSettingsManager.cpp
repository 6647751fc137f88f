#include "storage/GeneralSettingsManager.h"

namespace quillmere {

GeneralSettingsManager::GeneralSettingsManager(DefaultsStore& defaults, const StandardFolders& folders,
                                               const Logging& logging)
    : SettingsChannel(defaults, folders, SettingGroup::general), log_(logging.logger("GeneralSettings")) {}

void GeneralSettingsManager::onChanged(const QString& key) {
  if (key == "showInDock") log_.info("✅ Show in dock: %{bool,public}d", showInDock());
}

}  // namespace quillmere
