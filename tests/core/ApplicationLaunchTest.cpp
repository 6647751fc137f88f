#include "core/ApplicationLaunch.h"

#include <gtest/gtest.h>

#include "core/GlobalHotkeys.h"
#include "core/RecordingManagerFixture.h"
#include "core/ShortcutStore.h"
#include "providers/TranscriptionModelManager.h"
#include "recording/CrashRecoveryManager.h"
#include "recording/MusicBlocker.h"
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
    ApplicationLaunch::Services use{executor, appState,     *manager, recovery,      preparation,
                                    settings, *persistence, *hotkeys, &shortcutKeys, &musicBlocker};
    use.windows.onOrderOutWindow = [this] { windows << "ordered out"; };
    use.windows.onShowOnboarding = [this] { windows << "onboarding"; };
    use.windows.onReady = [this](Duration time) { readyAfter = time; };
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

  CrashRecoveryManager recovery{{*persistence, sessions, processLocks, converter, samples, clock, folders}, logging};
  TranscriptionModelManager models{{}, *persistence, 4, logging};
  ModelPreparation preparation{executor, *persistence, models, logging};
  ShortcutStore shortcutKeys{defaults, shortcuts, &appState, logging};
  MusicBlocker musicBlocker{workspace, logging};
  std::unique_ptr<GlobalHotkeys> hotkeys;
  QStringList windows;
  std::optional<Duration> readyAfter;
  std::unique_ptr<ApplicationLaunch> applicationLaunch;
};

// A disk full of orphans, or a slow one, keeps nobody from dictating.
TEST(ApplicationLaunchTest, RecoversBesideTheShortcuts) {
  LaunchFixture f;
  f.settings.setPushToTalkMode(PushToTalkMode::control);
  ASSERT_TRUE(f.settings.setText(shortcutSettingKey(shortcutNames::toggleRecordingWithTranscription), "Ctrl+Alt+D"));
  for (int i = 0; i < 20; ++i) f.addOrphan();
  f.launchToTheEnd();
  EXPECT_TRUE(f.readyAfter.has_value());
  EXPECT_FALSE(f.persistence->fetchUnfinishedRecordingSessions().empty());  // not yet
  EXPECT_TRUE(f.shortcuts.press(shortcutNames::toggleRecordingWithTranscription));
  EXPECT_TRUE(f.shortcuts.release(shortcutNames::toggleRecordingWithTranscription));
  f.executor.advance(2s);
  EXPECT_TRUE(f.flow->isRecordingNow());
  EXPECT_EQ(f.persistence->fetchUnfinishedRecordingSessions().size(), 1u);  // the one that runs
  f.press();
  f.settle();
  EXPECT_EQ(f.onlyRow(), QStringLiteral("completed Hello there."));

  f.applicationLaunch->start();  // once
  f.executor.advance(1s);
  EXPECT_EQ(f.said("🔧 Setting up global hotkeys..."), 1);
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
    EXPECT_TRUE(f.applicationLaunch->didBootstrapModels().get());
    const QString name = hasChosen ? "Letters" : "Default";
    EXPECT_EQ(f.appState.data().selectedModeName, name);
    EXPECT_EQ(f.said("Mode changed: " + name + " → model: base. Preparing model…"), 1)
        << f.log->lines().join('\n').toStdString();
  }
}

TEST(ApplicationLaunchTest, WindowsOfTheLaunch) {
  struct Case {
    bool isSetUp;
    bool launchMinimized;
    QStringList windows;
  };
  const Case cases[] = {{false, false, {"onboarding"}},
                        {false, true, {"onboarding"}},  // the window stays up
                        {true, true, {"ordered out"}},
                        {true, false, {}}};
  for (const Case& c : cases) {
    LaunchFixture f;
    f.appState.setHasCompletedOnboarding(c.isSetUp);
    f.settings.general().setLaunchMinimized(c.launchMinimized);
    f.launch();
    f.executor.advance(99ms);
    EXPECT_EQ(f.windows, QStringList());
    f.executor.advance(1ms);
    EXPECT_EQ(f.windows, c.isSetUp ? c.windows : QStringList());
    f.executor.advance(400ms);
    EXPECT_EQ(f.windows, c.windows);
    EXPECT_EQ(f.appState.data().showOnboarding, !c.isSetUp);
  }
}

TEST(ApplicationLaunchTest, FollowsTheSettings) {
  LaunchFixture f;
  f.settings.general().setBlockAppleMusic(true);
  f.launchToTheEnd();
  EXPECT_TRUE(f.musicBlocker.isActive());
  f.defaults.changeByOtherProcess("blockAppleMusic", false);
  EXPECT_FALSE(f.musicBlocker.isActive());

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
