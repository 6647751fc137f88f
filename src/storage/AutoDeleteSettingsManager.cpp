#include "storage/AutoDeleteSettingsManager.h"

namespace quillmere {

AutoDeleteSettingsManager::AutoDeleteSettingsManager(DefaultsStore& defaults, const StandardFolders& folders,
                                                     const Logging& logging)
    : SettingsChannel(defaults, folders, SettingGroup::autoDelete) {
  if (autoDeleteValue() > 0) return;
  setAutoDeleteValue(30);
  logging.logger("AutoDeleteSettings").warning("Auto-delete value was invalid, reset to 30");
}

}  // namespace quillmere
