#include "core/ApplicationLaunch.h"

#include <gtest/gtest.h>

#include "core/GlobalHotkeys.h"
#include "core/RecordingManagerFixture.h"
#include "core/ShortcutStore.h"
#include "recording/MusicBlocker.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

struct LaunchFixture : RecordingManagerFixture {
  LaunchFixture() {
    makeManager();
    GlobalHotkeys::Services keysUse{executor, shortcuts, manager.get(), &state, &settings};
    hotkeys = std::make_unique<GlobalHotkeys>(std::move(keysUse), logging);
  }
  void launch() {
    ApplicationLaunch::Services use{executor, state,   *manager, *preparation,  settings,
                                    *store,   network, *hotkeys, &shortcutKeys, &musicBlocker};
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
    const RecordingSessionPtr session = store->insertRecordingSession();
    session->startTime = clock.now();
    store->save();
    return session;
  }

  ShortcutStore shortcutKeys{defaults, shortcuts, &state, logging};
  MusicBlocker musicBlocker{workspace, logging};
  std::unique_ptr<GlobalHotkeys> hotkeys;
  QStringList windows;
  std::optional<Duration> readyAfter;
  std::unique_ptr<ApplicationLaunch> applicationLaunch;
};

TEST(ApplicationLaunchTest, RecoversBeforeAnyTriggerIsArmed) {
  LaunchFixture f;
  f.settings.setPushToTalkMode(PushToTalkMode::control);
  ASSERT_TRUE(f.settings.setText(shortcutSettingKey(shortcutNames::toggleRecordingWithTranscription), "Ctrl+Alt+D"));
  f.addOrphan();
  f.launch();
  EXPECT_EQ(f.readyAfter, std::nullopt);
  EXPECT_FALSE(f.shortcuts.press(shortcutNames::toggleRecordingWithTranscription));
  f.executor.runUntil([&] { return f.applicationLaunch->isReady().get(); });
  f.executor.runReady();

  const QStringList lines = f.log->lines();
  const char* const order[] = {"Found 1 orphaned session(s)", "AudioRecordingManager configured with dependencies",
                               "🔧 Setting up global hotkeys...", "✅ Global hotkeys setup complete",
                               "✅ Bare modifier monitor started for control"};
  qsizetype last = -1;
  for (const char* line : order) {
    const qsizetype at = lines.indexOf(line);
    EXPECT_GT(at, last) << line << "\n" << lines.join('\n').toStdString();
    last = at;
  }
  EXPECT_GT(lines.indexOf("Configuring Push to Talk for mode: control"), lines.indexOf(order[0]));
  EXPECT_TRUE(f.store->fetchUnfinishedRecordingSessions().empty());
  EXPECT_TRUE(f.shortcuts.press(shortcutNames::toggleRecordingWithTranscription));
  EXPECT_TRUE(f.readyAfter.has_value());

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
    data.name = "Letters";
    data.model = "base";
    const ModePtr letters = f.store->createMode(data);
    if (hasChosen) f.settings.setCurrentMode("Letters");
    f.launchToTheEnd();
    EXPECT_TRUE(f.applicationLaunch->didBootstrapModels().get());
    const QString name = hasChosen ? "Letters" : "Default";
    EXPECT_EQ(f.state.data().selectedModeName, name);
    EXPECT_EQ(f.said("Mode changed: " + name + " → model: base. Preparing model…"), 1)
        << f.log->lines().join('\n').toStdString();
    f.executor.runUntilIdle();
    EXPECT_EQ(f.engine.loads(), QStringList{"ggml-base.bin"});
    // Choosing it again prepares nothing.
    f.state.selectMode(hasChosen ? *letters : *f.defaultMode, true);
    EXPECT_EQ(f.said("Mode changed: " + name + " → model: base. Preparing model…"), 1);
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
    f.state.setHasCompletedOnboarding(c.isSetUp);
    f.settings.general().setLaunchMinimized(c.launchMinimized);
    f.launch();
    f.executor.advance(99ms);
    EXPECT_EQ(f.windows, QStringList());
    f.executor.advance(1ms);
    EXPECT_EQ(f.windows, c.isSetUp ? c.windows : QStringList());
    f.executor.advance(400ms);
    EXPECT_EQ(f.windows, c.windows);
    EXPECT_EQ(f.state.data().showOnboarding, !c.isSetUp);
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
  const ModePtr letters = f.store->createMode(data);
  f.defaults.changeByOtherProcess("currentModeId", letters->id->toString(QUuid::WithoutBraces));
  EXPECT_EQ(f.state.data().selectedModeName, "Letters");
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
