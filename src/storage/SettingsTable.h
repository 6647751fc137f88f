#pragma once
#include <QString>
#include <QStringList>
#include <QVariant>
#include <array>
#include <functional>
#include <optional>
#include <string_view>
#include <variant>

#include "base/Result.h"
#include "domain/KeyCombination.h"
#include "ports/DefaultsStore.h"
#include "storage/SettingTypes.h"
#include "storage/StandardFolders.h"

namespace quillmere {

// The one table of all settings. Typed accessors, registration, validation, the command line's `settings` command and
// the documentation page are made from it.

// The manager that owns a key; `outside` holds the keys that are kept in the same store by others.
enum class SettingGroup { general, audio, storage, autoDelete, developerMode, root, outside };

enum class SettingType {
  boolean,
  integer,
  real,
  text,
  stringList,  // a JSON array of texts, kept as text
  stringMap,   // a JSON object of texts, kept as data
  data,        // bytes of another service
  dictionary   // a map of texts, kept as a map
};

// What more than its type is asked of a value that is set by hand.
enum class SettingRule { none, choice, uuidOrEmpty, languageCode, absolutePath, urlOrPathOrEmpty, keysOrEmpty };

struct SettingDefinition {
  const char* key = "";
  SettingGroup group = SettingGroup::root;
  SettingType type = SettingType::text;
  // monostate: unset, or for a folder the function below
  std::variant<std::monostate, bool, int, double, const char*> defaultValue{};
  QString (*folderDefault)(const StandardFolders&) = nullptr;
  bool isRegistered = false;  // part of the table of defaults that the application registers at start
  bool isSensitive = false;   // may tell something about the person: never in diagnostics
  bool isInternal = false;    // kept by the program for itself: readable, but not set by hand
  std::optional<double> minimum{};
  std::optional<double> maximum{};
  SettingRule rule = SettingRule::none;
  const char* const* choices = nullptr;
  int choiceCount = 0;
  // The choice that a stored text means, also one that older versions stored; empty for none.
  QString (*meantChoice)(const QString& stored) = nullptr;

  // Key of the sentence that describes the setting: "settings.describe." and the key.
  QString descriptionKey() const { return QStringLiteral("settings.describe.") + QString::fromLatin1(key); }
};

namespace settings_detail {
QString appFolderDefault(const StandardFolders& folders);
QString recordingsFolderDefault(const StandardFolders& folders);

template <typename E>
inline constexpr auto rawTexts = [] {
  std::array<const char*, RawValues<E>::values.size()> texts{};
  for (size_t i = 0; i < texts.size(); ++i) texts[i] = RawValues<E>::values[i].second;
  return texts;
}();

constexpr SettingDefinition flag(SettingGroup group, const char* key, bool value, bool isRegistered = false) {
  return {
      .key = key, .group = group, .type = SettingType::boolean, .defaultValue = value, .isRegistered = isRegistered};
}
constexpr SettingDefinition text(SettingGroup group, const char* key, const char* value, bool isRegistered = false,
                                 SettingRule rule = SettingRule::none) {
  return {.key = key,
          .group = group,
          .type = SettingType::text,
          .defaultValue = value,
          .isRegistered = isRegistered,
          .rule = rule};
}
template <typename E>
constexpr SettingDefinition choice(SettingGroup group, const char* key, const char* value, bool isRegistered = false) {
  return {.key = key,
          .group = group,
          .type = SettingType::text,
          .defaultValue = value,
          .isRegistered = isRegistered,
          .rule = SettingRule::choice,
          .choices = rawTexts<E>.data(),
          .choiceCount = int(rawTexts<E>.size()),
          .meantChoice = [](const QString& stored) {
            const auto meant = fromRawValue<E>(stored);
            return meant ? rawValue(*meant) : QString();
          }};
}
constexpr SettingDefinition integer(SettingGroup group, const char* key, int value, int minimum,
                                    bool isRegistered = false) {
  return {.key = key,
          .group = group,
          .type = SettingType::integer,
          .defaultValue = value,
          .isRegistered = isRegistered,
          .minimum = minimum};
}
constexpr SettingDefinition real(SettingGroup group, const char* key, double value, double minimum,
                                 std::optional<double> maximum, bool isRegistered = false) {
  return {.key = key,
          .group = group,
          .type = SettingType::real,
          .defaultValue = value,
          .isRegistered = isRegistered,
          .minimum = minimum,
          .maximum = maximum};
}
constexpr SettingDefinition folder(const char* key, QString (*value)(const StandardFolders&)) {
  return {.key = key,
          .group = SettingGroup::storage,
          .type = SettingType::text,
          .folderDefault = value,
          .isSensitive = true,
          .rule = SettingRule::absolutePath};
}
// Keys of a system-wide shortcut.
constexpr SettingDefinition shortcut(const char* key) {
  return text(SettingGroup::outside, key, "", false, SettingRule::keysOrEmpty);
}
constexpr SettingDefinition sensitive(SettingDefinition definition) {
  return definition.isSensitive = true, definition;
}
constexpr SettingDefinition internal(SettingDefinition definition) {
  return definition.isInternal = true, definition;
}
constexpr SettingDefinition unset(SettingType type, const char* key) {
  return {.key = key, .group = SettingGroup::outside, .type = type, .isInternal = true};
}
}  // namespace settings_detail

inline constexpr std::array settingsTable = [] {
  using namespace settings_detail;
  using G = SettingGroup;
  constexpr bool registered = true;
  return std::array{
      flag(G::general, "showInDock", true, registered),
      flag(G::general, "launchMinimized", false, registered),
      flag(G::general, "showRecordingWindow", true, registered),
      flag(G::general, "checkForUpdatesAutomatically", true, registered),
      flag(G::general, "enableErrorLogging", true, registered),
      flag(G::general, "enableVAD", true, registered),

      sensitive(text(G::audio, "selectedMicrophoneId", "")),
      flag(G::audio, "autoIncreaseMicVolume", true, registered),
      choice<MediaControlMode>(G::audio, "mediaControlMode", "off"),
      flag(G::audio, "enableSoundEffects", true, registered),
      choice<SoundTheme>(G::audio, "soundTheme", "Classic", registered),
      real(G::audio, "soundEffectsVolume", 0.5, 0.0, 1.0, registered),
      internal(sensitive(text(G::audio, "borrowedVolumes", ""))),

      folder("appFolderPath", &appFolderDefault),
      folder("recordingsFolder", &recordingsFolderDefault),
      internal(flag(G::storage, "documentsPermissionExplained", false)),
      internal(flag(G::storage, "documentsAccessDenied", false)),
      internal(flag(G::storage, "userChoseAlternateStorage", false)),
      flag(G::storage, "filesyncEnabled", false, registered),
      flag(G::storage, "storeAsM4A", true),

      flag(G::autoDelete, "autoDeleteEnabled", false),
      choice<AutoDeleteTimeUnit>(G::autoDelete, "autoDeleteTimeUnit", "days"),
      integer(G::autoDelete, "autoDeleteValue", 30, 1),

      flag(G::developerMode, "enableDeveloperMode", false),
      SettingDefinition{.key = "projectDirectories",
                        .group = G::developerMode,
                        .type = SettingType::stringList,
                        .defaultValue = "[]",
                        .isSensitive = true},
      SettingDefinition{.key = "indexedFileExtensions",
                        .group = G::developerMode,
                        .type = SettingType::stringList,
                        .defaultValue = "[]"},

      flag(G::root, "applyVocabularyWithoutRewriting", true),
      flag(G::root, "pasteResultText", true, registered),
      flag(G::root, "enableAccessibility", true),
      flag(G::root, "restoreClipboardAfterPaste", true, registered),
      real(G::root, "clipboardRestoreDelaySeconds", 10.0, 0.0, std::nullopt, registered),
      flag(G::root, "showExperimentalModels", false, registered),
      text(G::root, "defaultTranscriptionModel", "base", registered),
      text(G::root, "defaultLanguage", "en", registered, SettingRule::languageCode),
      text(G::root, "currentMode", "Default"),
      text(G::root, "currentModeId", "", false, SettingRule::uuidOrEmpty),
      SettingDefinition{.key = "defaultModelByMode", .group = G::root, .type = SettingType::stringMap},
      integer(G::root, "maxRecordingDuration", 300, 1, registered),
      real(G::root, "audioSampleRate", 16000.0, 8000.0, 48000.0, registered),
      flag(G::root, "keepAudioFiles", false, registered),
      integer(G::root, "historyRetentionDays", 30, 0, registered),
      flag(G::root, "pushToTalkEnabled", false, registered),
      choice<PushToTalkMode>(G::root, "pushToTalkMode", "disabled", registered),
      flag(G::root, "pushToTalkDoublePressEnabled", true, registered),
      text(G::root, "selectedPedalDeviceId", "", registered),
      text(G::root, "selectedPedalProductName", "", registered),
      flag(G::root, "streamingEnabled", false),
      text(G::root, "streamingLanguage", "en", false, SettingRule::languageCode),
      text(G::root, "modelHubUrl", "", false, SettingRule::urlOrPathOrEmpty),

      shortcut("KeyboardShortcuts_toggleRecordingWithTranscription"),
      shortcut("KeyboardShortcuts_cancelRecording"),
      shortcut("KeyboardShortcuts_pushToTalk"),
      shortcut("KeyboardShortcuts_startStreaming"),
      shortcut("KeyboardShortcuts_changeMode"),
      shortcut("KeyboardShortcuts_toggleMiniWindow"),
      shortcut("KeyboardShortcuts_toggleMainWindow"),

      flag(G::outside, "launchAtLogin", true, registered),
      internal(flag(G::outside, "hasCompletedOnboarding", false)),
      internal(flag(G::outside, "accessibilityWasSwitchedOn", false)),
      unset(SettingType::text, "lastNavigationItem"),
      unset(SettingType::text, "lastSelectedMode"),
      flag(G::outside, "useOpenAITranscription", false),
      internal(flag(G::outside, "apiKeysMigratedToKeychain", false)),
      sensitive(unset(SettingType::data, "customPostProcessingEndpoints")),
      sensitive(unset(SettingType::data, "ProjectActivityTracking")),
      unset(SettingType::dictionary, "modelDisplayNames"),
      unset(SettingType::boolean, "pauseOtherAudioDuringRecording"),
  };
}();

// The registered keys in the order in which the application registers them.
inline constexpr std::array registeredSettingKeys{"launchAtLogin",
                                                  "showInDock",
                                                  "showRecordingWindow",
                                                  "checkForUpdatesAutomatically",
                                                  "enableErrorLogging",
                                                  "enableVAD",
                                                  "autoIncreaseMicVolume",
                                                  "enableSoundEffects",
                                                  "soundTheme",
                                                  "soundEffectsVolume",
                                                  "pasteResultText",
                                                  "restoreClipboardAfterPaste",
                                                  "clipboardRestoreDelaySeconds",
                                                  "filesyncEnabled",
                                                  "showExperimentalModels",
                                                  "defaultTranscriptionModel",
                                                  "defaultLanguage",
                                                  "maxRecordingDuration",
                                                  "audioSampleRate",
                                                  "keepAudioFiles",
                                                  "historyRetentionDays",
                                                  "launchMinimized",
                                                  "pushToTalkEnabled",
                                                  "pushToTalkMode",
                                                  "pushToTalkDoublePressEnabled",
                                                  "selectedPedalDeviceId",
                                                  "selectedPedalProductName"};

constexpr const SettingDefinition* findSettingConstexpr(std::string_view key) {
  for (const SettingDefinition& definition : settingsTable)
    if (key == definition.key) return &definition;
  return nullptr;
}
const SettingDefinition* findSetting(const QString& key);
// "general", "audio", "storage", "autoDelete", "developerMode", "settings", "application"
QString groupName(SettingGroup group);

// The default as the store would hold it; an invalid value where the setting is simply unset.
QVariant defaultSettingValue(const SettingDefinition& definition, const StandardFolders& folders);

// The stored value if it has the setting's type (numbers of another kind are converted), else the default. A live view:
// nothing is cached. Safe to use from any thread.
QVariant settingValue(const DefaultsStore& defaults, const SettingDefinition& definition,
                      const StandardFolders& folders);
// The same for a flag by its key, for those who need no folders ("enableErrorLogging" in front of each report).
bool flagSetting(const DefaultsStore& defaults, const QString& key);

// Whether these keys may be taken from every program: not what types a character.
bool canBeShortcut(const KeyCombination& keys);

// What a person typed, as the value to store, or a sentence that says what is wrong with it. Unknown and internal keys
// are refused too.
Result<QVariant, QString> parseSettingText(const QString& key, const QString& text);
// A value as a person types it; parseSettingText reads it back.
QString settingText(const SettingDefinition& definition, const QVariant& value);

// The documentation page of all settings as Markdown. `describe` gives the text of a key.
QString renderSettingsDocument(const std::function<QString(const QString& textKey)>& describe);

}  // namespace quillmere
