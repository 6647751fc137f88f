#include "core/ApplicationLaunch.h"

#include <gtest/gtest.h>

#include "core/GlobalHotkeys.h"
#include "core/RecordingManagerFixture.h"
#include "core/ShortcutStore.h"
#include "providers/TranscriptionModelManager.h"
#include "recording/CrashRecoveryManager.h"
#include "transcripts/ModelPreparation.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

struct LaunchFixture : RecordingManagerFixture {
  LaunchFixture() {
    GlobalHotkeys::Services keysUse{executor, shortcuts, flow.get(), &appState, &settings};
    keysUse.configurePushToTalk = [this] { pushToTalk.configure(); };
    hotkeys = std::make_unique<GlobalHotkeys>(std::move(keysUse), logging);
  }
  void launch() {
    ApplicationLaunch::Services use{executor, appState,     *manager, recovery,     preparation,
                                    settings, *persistence, *hotkeys, &shortcutKeys};
    use.windows.onOrderOutWindow = [this] { windows << "ordered out"; };
    use.windows.onShowOnboarding = [this] { windows << "onboarding"; };
    applicationLaunch = std::make_unique<ApplicationLaunch>(std::move(use), logging);
    applicationLaunch->start();
  }
  void launchToTheEnd() {
    launch();
    executor.runUntil([this] { return applicationLaunch->isReady().get(); });
  }
  RecordingSessionPtr addOrphan() {
    const RecordingSessionPtr session = persistence->insertRecordingSession();
    session->startTime = clock.now();
    persistence->save();
    return session;
  }

  CrashRecoveryManager recovery{{*persistence, sessions, processLocks, converter, samples, clock, settings.storage()},
                                logging};
  TranscriptionModelManager models{{}, *persistence, 4, logging};
  ModelPreparation preparation{executor, *persistence, models, logging};
  ShortcutStore shortcutKeys{defaults, shortcuts, &appState, logging};
  std::unique_ptr<GlobalHotkeys> hotkeys;
  QStringList windows;
  std::unique_ptr<ApplicationLaunch> applicationLaunch;
};

// A disk full of orphans, or a slow one, keeps nobody from dictating.
TEST(ApplicationLaunchTest, RecoversBesideTheShortcuts) {
  LaunchFixture f;
  f.settings.setPushToTalkMode(PushToTalkMode::control);
  ASSERT_TRUE(f.settings.setText(shortcutSettingKey(shortcutNames::toggleRecordingWithTranscription), "Ctrl+Alt+D"));
  for (int i = 0; i < 20; ++i) f.addOrphan();
  f.launchToTheEnd();
  EXPECT_FALSE(f.persistence->fetchUnfinishedRecordingSessions().empty());  // not yet
  EXPECT_TRUE(f.shortcuts.press(shortcutNames::toggleRecordingWithTranscription));
  EXPECT_TRUE(f.shortcuts.release(shortcutNames::toggleRecordingWithTranscription));
  f.executor.advance(2s);
  EXPECT_TRUE(f.flow->isRecordingNow());
  EXPECT_EQ(f.persistence->fetchUnfinishedRecordingSessions().size(), 1u);  // the one that runs
  f.press();
  f.settle();
  EXPECT_EQ(f.onlyRow(), "completed Hello there.");
}

// The first dictation after the start doesn't wait for its model, also where the mode is the one that was there from
// the beginning.
TEST(ApplicationLaunchTest, PreparesTheModelOfTheSavedMode) {
  for (const bool hasChosen : {false, true}) {
    LaunchFixture f;
    ModeData data;
    data.id = QUuid::fromString(QString::fromLatin1(defaultModeId));
    data.name = "Default";
    data.model = "base";
    f.persistence->saveMode(data)->isDefault = true;
    f.appState.selectMode(*f.persistence->fetchMode(QString::fromLatin1(defaultModeId)), false);
    f.mode->model = "base";
    if (hasChosen) f.settings.setCurrentMode("Letters");
    f.launchToTheEnd();
    const QString name = hasChosen ? "Letters" : "Default";
    EXPECT_EQ(f.appState.data().selectedModeName, name);
    EXPECT_EQ(f.said("Mode changed: " + name + " → model: base. Preparing model…"), 1)
        << f.log->lines().join('\n').toStdString();
  }
}

TEST(ApplicationLaunchTest, FollowsTheSettings) {
  LaunchFixture f;
  f.launchToTheEnd();
  ModeData data;
  data.name = "Letters";
  const ModePtr letters = f.persistence->createMode(data);
  f.defaults.changeByOtherProcess("currentModeId", letters->id->toString(QUuid::WithoutBraces));
  EXPECT_EQ(f.appState.data().selectedModeName, "Letters");
}

TEST(ApplicationLaunchTest, MayEndAtAnyMoment) {
  for (int turns = 0; turns < 12; ++turns) {
    LaunchFixture f;
    f.addOrphan();
    f.launch();
    for (int i = 0; i < turns; ++i) f.executor.runOne();
    f.applicationLaunch.reset();
    f.executor.advance(1s);
    EXPECT_EQ(f.windows, QStringList()) << turns;
  }
}

}  // namespace
}  // namespace quillmere
