#include "interface/SettingsViewModel.h"

#include "base/text/LocalizedText.h"
#include "providers/UserNotices.h"
#include "storage/SettingsManager.h"

namespace quillmere {

SettingsViewModel::SettingsViewModel(SettingsManager& settings, std::function<void(const QString&)> openFolder,
                                     UserNotices* notices)
    : settings_(settings), openFolder_(std::move(openFolder)), notices_(notices) {
  read();
  observation_ = settings_.observeChanges([this](const QString&) { read(); });
}

QStringList SettingsViewModel::keys() {
  return {QStringLiteral("showRecordingWindow"),
          QStringLiteral("launchMinimized"),
          QStringLiteral("enableErrorLogging"),
          QStringLiteral("enableVAD"),
          QStringLiteral("autoIncreaseMicVolume"),
          QStringLiteral("mediaControlMode"),
          QStringLiteral("storeAsM4A"),
          QStringLiteral("recordingsFolder"),
          QStringLiteral("pasteResultText"),
          QStringLiteral("restoreClipboardAfterPaste"),
          QStringLiteral("clipboardRestoreDelaySeconds")};
}

void SettingsViewModel::read() {
  QVariantMap values;
  for (const QString& key : keys()) values[key] = settings_.effectiveValue(key);
  if (values == values_) return;
  values_ = values;
  Q_EMIT valuesChanged();
}

QVariantList SettingsViewModel::mediaControlChoices() const {
  QVariantList choices;
  for (const MediaControlMode mode : allCases<MediaControlMode>())
    choices << QVariantMap{{QStringLiteral("value"), rawValue(mode)},
                           {QStringLiteral("text"), localizedText(labelKey(mode))}};
  return choices;
}

QString SettingsViewModel::recordingsFolder() const {
  return values_.value(QStringLiteral("recordingsFolder")).toString();
}

void SettingsViewModel::openRecordingsFolder() {
  if (openFolder_) openFolder_(recordingsFolder());
}

bool SettingsViewModel::set(const QString& key, const QVariant& value) {
  if (!keys().contains(key)) return false;
  const auto stored = settings_.setText(key, value.toString());
  if (!stored && notices_) notices_->showToast(stored.error(), false);
  read();
  return bool(stored);
}

}  // namespace quillmere
