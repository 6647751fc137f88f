#include "storage/SettingsChannel.h"

namespace quillmere {

SettingsChannel::SettingsChannel(DefaultsStore& defaults, const StandardFolders& folders, SettingGroup group)
    : defaults_(defaults), folders_(folders) {
  observerToken_ = defaults_.addObserver([this, group](const QString& key) {
    const SettingDefinition* definition = findSetting(key);
    if (!definition) return;
    // The root tells of what no manager owns, too.
    const bool isForeign = definition->group == SettingGroup::outside && group == SettingGroup::root;
    if (definition->group != group && !isForeign) return;
    onChanged(key);
    changed_.tell(key);
  });
}

SettingsChannel::~SettingsChannel() {
  defaults_.removeObserver(observerToken_);
}

bool SettingsChannel::store(const SettingDefinition& definition, const QVariant& value) {
  const QString key = QString::fromLatin1(definition.key);
  const QVariant stored = defaults_.value(key);
  if (stored.isValid() && stored.typeId() == value.typeId() && stored == value) return true;
  return defaults_.setValue(key, value);
}

}  // namespace quillmere
