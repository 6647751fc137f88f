#pragma once
#include <QTemporaryDir>

#include "core/AppState.h"
#include "core/DictationControl.h"
#include "core/ShortcutNames.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "support/FakeDefaultsStore.h"
#include "support/FakeErrorReporting.h"
#include "support/FakeGlobalShortcuts.h"
#include "support/FakeNetworkStatus.h"
#include "support/FakeUserNotices.h"
#include "support/ManualExecutor.h"
#include "support/RecordingLogSink.h"
#include "support/TestTexts.h"

namespace quillmere {

// A recording side that notes what triggers ask of it.
class FakeDictationControl final : public DictationControl {
 public:
  bool isRecording = false;
  double duration = 0;
  QStringList calls;

  void toggleRecording(std::optional<QString> modeName, bool stopOnly, RecordingTriggerSource trigger) override {
    calls << QStringLiteral("toggle ") + rawValue(trigger) + (stopOnly ? " stopOnly" : QString()) +
                 (modeName ? QStringLiteral(" ") + *modeName : QString());
  }
  void cancelFromShortcut() override { calls << QStringLiteral("cancel"); }
  void holdBegan() override { calls << QStringLiteral("hold"); }
  void holdEnded() override { calls << QStringLiteral("release"); }
  void interference() override { calls << QStringLiteral("interference"); }
  bool isRecordingNow() const override { return isRecording; }
  double liveRecordingDuration() const override { return duration; }
};

// What triggers stand on: settings, state and shortcuts without a platform.
struct TriggerFixture {
  TestTexts texts;
  ManualExecutor executor;
  QTemporaryDir home;
  FakeDefaultsStore defaults;
  FakeUserNotices notices;
  FakeErrorReporting reporting;
  FakeGlobalShortcuts shortcuts;
  FakeDictationControl dictation;
  std::shared_ptr<RecordingLogSink> log = std::make_shared<RecordingLogSink>();
  Logging logging{log};
  StandardFolders folders{home.filePath("data"), home.filePath("Documents"), home.filePath("Downloads"),
                          home.filePath("tmp")};
  SettingsManager settings{defaults, folders, logging};
  FixedClock clock{QDateTime::fromSecsSinceEpoch(1'700'000'000)};
  std::unique_ptr<PersistenceController> store =
      std::move(*PersistenceController::open(PersistenceController::inMemory(), clock, logging));
  FakeNetworkStatus network;
  QStringList modeToasts;
  AppState state{
      {executor, defaults, settings, *store, network, notices, [this](const QString& name) { modeToasts << name; }},
      logging};

  AppState::Dependencies dependencies() { return {executor, defaults, settings, *store, network, notices}; }
  void setHeld(bool isHeld) {
    state.update([isHeld](AppStateData& data) { data.isToggleRecordingShortcutHeld = isHeld; });
  }
  void giveKeys(const char* name, const char* keys) {
    ASSERT_TRUE(shortcuts.setShortcut(name, KeyCombination::parse(keys)));
  }
  void press(const char* name) {
    EXPECT_TRUE(shortcuts.press(name)) << name;
    executor.runReady();
  }
  void release(const char* name) {
    EXPECT_TRUE(shortcuts.release(name)) << name;
    executor.runReady();
  }
};

}  // namespace quillmere
