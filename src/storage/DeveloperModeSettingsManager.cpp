#include "storage/DeveloperModeSettingsManager.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace quillmere {

namespace {

QStringList decodeList(const QString& text) {
  QStringList list;
  for (const QJsonValue& entry : QJsonDocument::fromJson(text.toUtf8()).array()) {
    if (!entry.isString()) return {};
    list << entry.toString();
  }
  return list;
}

QString encodeList(const QStringList& list) {
  return QString::fromUtf8(QJsonDocument(QJsonArray::fromStringList(list)).toJson(QJsonDocument::Compact));
}

}  // namespace

DeveloperModeSettingsManager::DeveloperModeSettingsManager(DefaultsStore& defaults, const StandardFolders& folders)
    : SettingsChannel(defaults, folders, SettingGroup::developerMode) {}

QStringList DeveloperModeSettingsManager::projectDirectories() const {
  return decodeList(get<"projectDirectories">());
}
bool DeveloperModeSettingsManager::setProjectDirectories(const QStringList& value) {
  return set<"projectDirectories">(encodeList(value));
}
QStringList DeveloperModeSettingsManager::indexedFileExtensions() const {
  return decodeList(get<"indexedFileExtensions">());
}
bool DeveloperModeSettingsManager::setIndexedFileExtensions(const QStringList& value) {
  return set<"indexedFileExtensions">(encodeList(value));
}

}  // namespace quillmere
