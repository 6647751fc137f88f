#pragma once
#include <QMap>
#include <QString>
#include <optional>

#include "base/log/Logger.h"
#include "ports/ErrorReporting.h"
#include "storage/AudioSettingsManager.h"
#include "storage/AutoDeleteSettingsManager.h"
#include "storage/DeveloperModeSettingsManager.h"
#include "storage/GeneralSettingsManager.h"
#include "storage/SettingsChannel.h"
#include "storage/StorageSettingsManager.h"

namespace quillmere {

// Root of all preferences: live views on the defaults store, nothing is cached. Main thread only. Setters give false
// when the value couldn't be written to the disk; it is in effect for this run all the same. The store must outlive it.
// observeChanges() of the root hears the changes of all managers.
class SettingsManager final : public SettingsChannel {
 public:
  SettingsManager(DefaultsStore& defaults, const StandardFolders& folders, const Logging& logging,
                  ErrorReporting* reporting = nullptr);

  GeneralSettingsManager& general() { return general_; }
  const GeneralSettingsManager& general() const { return general_; }
  AudioSettingsManager& audio() { return audio_; }
  const AudioSettingsManager& audio() const { return audio_; }
  StorageSettingsManager& storage() { return storage_; }
  const StorageSettingsManager& storage() const { return storage_; }
  DeveloperModeSettingsManager& developerMode() { return developerMode_; }
  const DeveloperModeSettingsManager& developerMode() const { return developerMode_; }
  AutoDeleteSettingsManager& autoDelete() { return autoDelete_; }
  const AutoDeleteSettingsManager& autoDelete() const { return autoDelete_; }

  bool applyVocabularyWithoutRewriting() const { return get<"applyVocabularyWithoutRewriting">(); }
  bool pasteResultText() const { return get<"pasteResultText">(); }
  bool setPasteResultText(bool value) { return set<"pasteResultText">(value); }
  bool restoreClipboardAfterPaste() const { return get<"restoreClipboardAfterPaste">(); }
  bool setRestoreClipboardAfterPaste(bool value) { return set<"restoreClipboardAfterPaste">(value); }
  double clipboardRestoreDelaySeconds() const { return get<"clipboardRestoreDelaySeconds">(); }
  bool setClipboardRestoreDelaySeconds(double value) { return set<"clipboardRestoreDelaySeconds">(value); }
  bool showExperimentalModels() const { return get<"showExperimentalModels">(); }
  bool setShowExperimentalModels(bool value) { return set<"showExperimentalModels">(value); }
  QString defaultTranscriptionModel() const { return get<"defaultTranscriptionModel">(); }
  bool setDefaultTranscriptionModel(const QString& value) { return set<"defaultTranscriptionModel">(value); }
  QString defaultLanguage() const { return get<"defaultLanguage">(); }
  bool setDefaultLanguage(const QString& value) { return set<"defaultLanguage">(value); }
  QString currentMode() const { return get<"currentMode">(); }
  bool setCurrentMode(const QString& value) { return set<"currentMode">(value); }
  QString currentModeId() const { return get<"currentModeId">(); }
  bool setCurrentModeId(const QString& value) { return set<"currentModeId">(value); }
  int maxRecordingDuration() const { return get<"maxRecordingDuration">(); }  // seconds
  bool setMaxRecordingDuration(int value) { return set<"maxRecordingDuration">(value); }
  double audioSampleRate() const { return get<"audioSampleRate">(); }  // hertz
  bool setAudioSampleRate(double value) { return set<"audioSampleRate">(value); }
  bool keepAudioFiles() const { return get<"keepAudioFiles">(); }
  bool setKeepAudioFiles(bool value) { return set<"keepAudioFiles">(value); }
  int historyRetentionDays() const { return get<"historyRetentionDays">(); }
  bool setHistoryRetentionDays(int value) { return set<"historyRetentionDays">(value); }
  bool pushToTalkEnabled() const { return get<"pushToTalkEnabled">(); }
  bool setPushToTalkEnabled(bool value) { return set<"pushToTalkEnabled">(value); }
  PushToTalkMode pushToTalkMode() const { return getChoice<"pushToTalkMode">(PushToTalkMode::disabled); }
  bool setPushToTalkMode(PushToTalkMode value) { return set<"pushToTalkMode">(rawValue(value)); }
  bool pushToTalkDoublePressEnabled() const { return get<"pushToTalkDoublePressEnabled">(); }
  bool setPushToTalkDoublePressEnabled(bool value) { return set<"pushToTalkDoublePressEnabled">(value); }
  QString selectedPedalDeviceId() const { return get<"selectedPedalDeviceId">(); }
  bool setSelectedPedalDeviceId(const QString& value) { return set<"selectedPedalDeviceId">(value); }
  QString selectedPedalProductName() const { return get<"selectedPedalProductName">(); }
  bool setSelectedPedalProductName(const QString& value) { return set<"selectedPedalProductName">(value); }
  bool streamingEnabled() const { return get<"streamingEnabled">(); }
  bool setStreamingEnabled(bool value) { return set<"streamingEnabled">(value); }
  QString streamingLanguage() const { return get<"streamingLanguage">(); }
  bool setStreamingLanguage(const QString& value) { return set<"streamingLanguage">(value); }
  // Base address or folder of the model hub; "" is the public one.
  QString modelHubUrl() const { return get<"modelHubUrl">(); }
  bool setModelHubUrl(const QString& value) { return set<"modelHubUrl">(value); }

  // Mode identifier -> model. Setting stores the whole map.
  QMap<QString, QString> defaultModelByMode() const;
  bool setDefaultModelByMode(const QMap<QString, QString>& value);
  // Without a model the mode's entry goes.
  bool setDefaultModel(const QString& modeId, const std::optional<QString>& model);
  // Names that the user gave to models.
  QMap<QString, QString> modelDisplayNames() const;
  bool setModelDisplayNames(const QMap<QString, QString>& value);

  // --- by key, for the command line
  // The value in effect; invalid for an unknown key and for a setting that is simply unset.
  QVariant effectiveValue(const QString& key) const;
  bool isStored(const QString& key) const;
  // A sentence when the text doesn't fit the setting or can't be written.
  Result<void, QString> setText(const QString& key, const QString& text);
  Result<void, QString> reset(const QString& key);

  const StandardFolders& folders() const { return folders_; }

 private:
  GeneralSettingsManager general_;
  AudioSettingsManager audio_;
  StorageSettingsManager storage_;
  DeveloperModeSettingsManager developerMode_;
  AutoDeleteSettingsManager autoDelete_;
  std::vector<Subscription> forwarding_;
};

}  // namespace quillmere
