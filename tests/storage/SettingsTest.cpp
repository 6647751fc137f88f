#include <limits>

#include "storage/ModeDeletion.h"
#include "storage/SettingsManager.h"
#include "storage/StoreFixture.h"
#include "support/FakeDefaultsStore.h"

namespace quillmere {
namespace {

class SettingsTest : public testing::Test {
 public:
  QTemporaryDir home;
  StandardFolders folders{home.filePath("data"), home.filePath("Documents"), home.filePath("Downloads"),
                          home.filePath("tmp")};
  FakeDefaultsStore defaults;

  std::unique_ptr<SettingsManager> make() { return std::make_unique<SettingsManager>(defaults, folders, Logging()); }
};

TEST_F(SettingsTest, TheTableIsWellFormed) {
  std::set<std::string> keys;
  for (const SettingDefinition& definition : settingsTable) {
    EXPECT_TRUE(keys.insert(definition.key).second) << definition.key;
    const QVariant value = defaultSettingValue(definition, folders);
    if (definition.isInternal || !value.isValid()) continue;
    // What is shown can be typed again.
    const auto parsed = parseSettingText(definition.key, settingText(definition, value));
    ASSERT_TRUE(parsed) << definition.key << ": " << parsed.error().toStdString();
    EXPECT_EQ(*parsed, value) << definition.key;
  }
  const std::set<std::string> registered(std::begin(registeredSettingKeys), std::end(registeredSettingKeys));
  for (const SettingDefinition& definition : settingsTable)
    EXPECT_EQ(definition.isRegistered, registered.contains(definition.key)) << definition.key;
}

TEST_F(SettingsTest, RepairsAndMigrationsAtStart) {
  const struct {
    const char* key;
    QVariant stored, expected;
  } cases[] = {{"audioSampleRate", 7999.0, 16000.0},
               {"audioSampleRate", 8000.0, 8000.0},
               {"audioSampleRate", std::numeric_limits<double>::quiet_NaN(), 16000.0},
               {"historyRetentionDays", -1, 30},
               {"historyRetentionDays", 0, 0},
               {"defaultLanguage", "en-US", "en"},
               {"defaultLanguage", "en-GB", "en-GB"},
               {"pushToTalkMode", "rightOption", "rightAlt"},
               {"pushToTalkMode", "control", "control"},
               {"soundEffectsVolume", 1.01, 0.5},
               {"soundEffectsVolume", 1.0, 1.0},
               {"autoDeleteValue", 0, 30},
               {"pauseOtherAudioDuringRecording", true, QVariant()},
               {"pauseOtherAudioDuringRecording", false, QVariant()}};
  for (const auto& [key, stored, expected] : cases) {
    FakeDefaultsStore store;
    store.setValue(key, stored);
    const SettingsManager settings(store, folders, Logging());
    EXPECT_EQ(store.value(key), expected) << key << ' ' << stored.toString().toStdString();
    const bool isMuted = QString(key).startsWith("pause") && stored.toBool();
    EXPECT_EQ(settings.audio().mediaControlMode() == MediaControlMode::muteAudio, isMuted) << key;
  }
}

TEST_F(SettingsTest, AValueOfAWrongTypeGivesTheDefault) {
  const auto settings = make();
  const std::pair<const char*, QVariant> wrong[] = {{"enableVAD", "no"},
                                                    {"maxRecordingDuration", "600"},
                                                    {"soundTheme", 3},
                                                    {"currentMode", QByteArray("x")},
                                                    {"historyRetentionDays", 1e12}};
  for (const auto& [key, value] : wrong) {
    defaults.setValue(key, value);
    EXPECT_EQ(settings->effectiveValue(key), defaultSettingValue(*findSetting(key), folders)) << key;
  }
  defaults.setValue("defaultModelByMode", QByteArray("not json"));
  defaults.setValue("projectDirectories", "[1, 2]");
  defaults.setValue("autoDeleteTimeUnit", "fortnights");
  EXPECT_TRUE(settings->defaultModelByMode().isEmpty());
  EXPECT_TRUE(settings->developerMode().projectDirectories().isEmpty());
  EXPECT_EQ(settings->autoDelete().autoDeleteTimeUnit(), AutoDeleteTimeUnit::days);
  defaults.setValue("maxRecordingDuration", 600.0);  // another kind of number is a number
  EXPECT_EQ(settings->maxRecordingDuration(), 600);
}

TEST_F(SettingsTest, ChangesAreAnnouncedOnceAndForwarded) {
  auto settings = make();
  QStringList root, general;
  const Subscription a = settings->observeChanges([&](const QString& key) { root << key; });
  const Subscription b = settings->general().observeChanges([&](const QString& key) { general << key; });
  settings->general().setEnableVAD(false);
  settings->general().setEnableVAD(false);
  settings->setKeepAudioFiles(true);
  settings->autoDelete().setAutoDeleteValue(0);
  defaults.changeByOtherProcess("showInDock", false);
  defaults.setValue("unknownKey", 1);
  EXPECT_EQ(root, QStringList({"enableVAD", "keepAudioFiles", "autoDeleteValue", "showInDock"}));
  EXPECT_EQ(general, QStringList({"enableVAD", "showInDock"}));
  EXPECT_EQ(settings->autoDelete().autoDeleteValue(), 1);
  settings.reset();
  EXPECT_EQ(defaults.observerCount(), 0u);
}

TEST_F(SettingsTest, TypedTexts) {
  const struct {
    const char* key;
    const char* text;
    QVariant expected;
  } cases[] = {
      {"enableVAD", "false", false},
      {"enableVAD", " On ", true},
      {"audioSampleRate", "44100", 44100.0},
      {"clipboardRestoreDelaySeconds", "2.5", 2.5},
      {"soundTheme", "new", "New"},
      {"pushToTalkMode", "RIGHTALT", "rightAlt"},
      {"pushToTalkMode", "leftOption", "leftAlt"},
      {"defaultLanguage", "DE_at", "de-AT"},
      {"defaultLanguage", "", "auto"},
      {"currentModeId", "{00000000-0000-0000-0000-00000000000A}", "00000000-0000-0000-0000-00000000000a"},
      {"recordingsFolder", "/tmp/x/../y/", "/tmp/y"},
      {"modelHubUrl", "https://hub.example/models", "https://hub.example/models"},
      {"projectDirectories", R"(["/a", "/b, c"])", R"(["/a","/b, c"])"},
      {"indexedFileExtensions", "h, cpp,", R"(["h","cpp"])"},
      {"KeyboardShortcuts_changeMode", " alt+CTRL+d ", "Ctrl+Alt+D"},
  };
  for (const auto& [key, text, expected] : cases) {
    const auto parsed = parseSettingText(key, text);
    ASSERT_TRUE(parsed) << key << " = " << text;
    EXPECT_EQ(*parsed, expected) << key << " = " << text;
    EXPECT_EQ(parsed->typeId(), expected.typeId()) << key;
  }
  const std::pair<const char*, QStringList> refused[] = {
      {"enableVAD", {"maybe", ""}},
      {"maxRecordingDuration", {"0", "1.5", "99999999999", "5 minutes"}},
      {"audioSampleRate", {"7999.9", "nan"}},
      {"soundEffectsVolume", {"1.1", "inf"}},
      {"soundTheme", {"Modern"}},
      {"currentModeId", {"Default"}},
      {"recordingsFolder", {"relative", ""}},
      {"modelHubUrl", {"hub.example", "ftp://hub.example", "https://"}},
      {"projectDirectories", {"[1]", "[\"/a\""}},
      {"defaultModelByMode", {"{\"a\": 1}"}},
      {"KeyboardShortcuts_changeMode", {"Ctrl+", "Ctrl+Alt", "Ctrl+A+B", "Shift+D", "space", "Hyper+Blub"}},
      {"hasCompletedOnboarding", {"true"}},
      {"customPostProcessingEndpoints", {"[]"}},
  };
  for (const auto& [key, texts] : refused) {
    for (const QString& text : texts) {
      const auto parsed = parseSettingText(key, text);
      ASSERT_FALSE(parsed) << key << " = " << text.toStdString();
      EXPECT_FALSE(parsed.error().isEmpty());
    }
  }
}

class ModeDeletionTest : public StoreFixture {};

TEST_F(ModeDeletionTest, TheSettingsAndTheSelectionFollow) {
  FakeDefaultsStore defaults;
  SettingsManager settings(defaults, {folder.path(), folder.path(), folder.path(), folder.path()}, Logging());
  const auto store = openStoreHere();
  const ModePtr a = store->saveMode(modeData("A")), b = store->saveMode(modeData("B"));
  for (const ModePtr& mode : {a, b}) settings.setDefaultModel(mode->id->toString(QUuid::WithoutBraces), "tiny");
  using Selection = ModeDeletionOutcome::Selection;
  for (const auto& [mode, selection, models] : {std::tuple(a, Selection::unchanged, 1), {b, Selection::switched, 0}}) {
    const auto outcome = deleteModeAndReferences(*store, settings, Logging(), mode, *b->id);
    ASSERT_TRUE(outcome);
    EXPECT_EQ(outcome->selection, selection);
    EXPECT_EQ(settings.defaultModelByMode().size(), models);
  }
  EXPECT_FALSE(deleteModeAndReferences(*store, settings, Logging(), store->fetchDefaultMode(), std::nullopt));
}

TEST_F(SettingsTest, WhatNoManagerOwnsIsToldByTheRootAlone) {
  auto settings = make();
  QStringList root, general;
  const Subscription a = settings->observeChanges([&](const QString& key) { root << key; });
  const Subscription b = settings->general().observeChanges([&](const QString& key) { general << key; });
  defaults.changeByOtherProcess("launchAtLogin", false);
  EXPECT_EQ(root, QStringList{"launchAtLogin"});
  EXPECT_EQ(general, QStringList());
}

}  // namespace
}  // namespace quillmere
