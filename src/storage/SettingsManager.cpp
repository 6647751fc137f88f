#include "storage/SettingsManager.h"

#include <QJsonDocument>
#include <QJsonObject>

#include "base/text/LocalizedText.h"

namespace quillmere {

SettingsManager::SettingsManager(DefaultsStore& defaults, const StandardFolders& folders, const Logging& logging,
                                 ErrorReporting* reporting)
    : SettingsChannel(defaults, folders, SettingGroup::root),
      general_(defaults, folders, logging),
      audio_(defaults, folders, logging),
      storage_(defaults, folders, logging, reporting),
      developerMode_(defaults, folders),
      autoDelete_(defaults, folders, logging) {
  if (!(audioSampleRate() >= 8000.0 && audioSampleRate() <= 48000.0)) setAudioSampleRate(16000.0);
  if (historyRetentionDays() < 0) setHistoryRetentionDays(30);
  if (defaultLanguage() == "en-US") setDefaultLanguage("en");
  // Older versions had other names for some keys.
  if (const auto mode = fromRawValue<PushToTalkMode>(get<"pushToTalkMode">());
      mode && rawValue(*mode) != get<"pushToTalkMode">())
    setPushToTalkMode(*mode);
  const auto forward = [this](const QString& key) { announce(key); };
  for (SettingsChannel* child :
       std::initializer_list<SettingsChannel*>{&general_, &audio_, &storage_, &developerMode_, &autoDelete_})
    forwarding_.push_back(child->observeChanges(forward));
}

QMap<QString, QString> SettingsManager::defaultModelByMode() const {
  QMap<QString, QString> models;
  const QJsonObject entries = QJsonDocument::fromJson(defaults_.value("defaultModelByMode").toByteArray()).object();
  for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
    if (!entry.value().isString()) return {};
    models.insert(entry.key(), entry.value().toString());
  }
  return models;
}

bool SettingsManager::setDefaultModelByMode(const QMap<QString, QString>& value) {
  QJsonObject entries;
  for (auto entry = value.begin(); entry != value.end(); ++entry) entries.insert(entry.key(), entry.value());
  return store(*findSetting("defaultModelByMode"), QJsonDocument(entries).toJson(QJsonDocument::Compact));
}

bool SettingsManager::setDefaultModel(const QString& modeId, const std::optional<QString>& model) {
  QMap<QString, QString> models = defaultModelByMode();
  // Identifiers are the same in either case of their digits.
  models.removeIf([&](const auto& entry) { return entry.key().compare(modeId, Qt::CaseInsensitive) == 0; });
  if (model) models.insert(modeId, *model);
  return setDefaultModelByMode(models);
}

QMap<QString, QString> SettingsManager::modelDisplayNames() const {
  QMap<QString, QString> names;
  const QVariantMap stored = defaults_.value("modelDisplayNames").toMap();
  for (auto entry = stored.begin(); entry != stored.end(); ++entry) names.insert(entry.key(), entry.value().toString());
  return names;
}

bool SettingsManager::setModelDisplayNames(const QMap<QString, QString>& value) {
  QVariantMap names;
  for (auto entry = value.begin(); entry != value.end(); ++entry) names.insert(entry.key(), entry.value());
  return store(*findSetting("modelDisplayNames"), names);
}

QVariant SettingsManager::effectiveValue(const QString& key) const {
  const SettingDefinition* definition = findSetting(key);
  return definition ? settingValue(defaults_, *definition, folders_) : QVariant();
}

bool SettingsManager::isStored(const QString& key) const {
  return defaults_.value(key).isValid();
}

Result<void, QString> SettingsManager::setText(const QString& key, const QString& text) {
  TRY(const auto value, parseSettingText(key, text));
  if (!store(*findSetting(key), value)) return Failed{localizedText("settings.error.write", key)};
  return {};
}

Result<void, QString> SettingsManager::reset(const QString& key) {
  const SettingDefinition* definition = findSetting(key);
  if (!definition) return Failed{localizedText("settings.error.unknown", key)};
  if (definition->isInternal) return Failed{localizedText("settings.error.internal", key)};
  if (isStored(key) && !defaults_.remove(key)) return Failed{localizedText("settings.error.write", key)};
  return {};
}

}  // namespace quillmere
