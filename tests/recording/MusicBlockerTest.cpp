#include "recording/MusicBlocker.h"

#include <gtest/gtest.h>

#include "recording/PowerActivityManager.h"
#include "support/FakePowerActivity.h"
#include "support/FakeWorkspace.h"
#include "support/RecordingLogSink.h"

namespace quillmere {
namespace {

TEST(MusicBlockerTest, EndsTheTwoPlayersAndNothingElse) {
  FakeWorkspace workspace;
  MusicBlocker blocker(workspace, Logging());
  const auto application = [](qint64 pid, const char* id) {
    RunningApplication one;
    one.processId = pid;
    one.bundleId = QString::fromLatin1(id);
    return one;
  };
  blocker.start();
  blocker.start();
  EXPECT_EQ(workspace.launchObserverCount(), 1u);
  workspace.launch(application(2, "com.apple.Music"));
  workspace.launch(application(3, "com.apple.MusicStudio"));
  workspace.launch(application(4, "org.videolan.vlc"));
  workspace.canTerminate = false;
  workspace.launch(application(5, "com.apple.iTunes"));
  EXPECT_EQ(workspace.terminations, (std::vector<qint64>{2, 5}));
  blocker.stop();
  EXPECT_EQ(workspace.launchObserverCount(), 0u);
}

TEST(PowerActivityManagerTest, StaysAwakeAsLongAsSomebodyHoldsIt) {
  FakePowerActivity power;
  PowerActivityManager manager(power, Logging());
  std::optional first = manager.hold(QStringLiteral("Audio recording"));
  std::optional second = manager.hold(QStringLiteral("Streaming transcription"));
  EXPECT_EQ(power.reasons, QStringList{QStringLiteral("Audio recording")});
  first.reset();
  EXPECT_EQ(power.held(), 1);
  second = manager.hold(QStringLiteral("Another"));  // the old one goes after the new one is there
  EXPECT_EQ(power.held(), 1);
  second.reset();
  EXPECT_EQ(power.held(), 0);
}

}  // namespace
}  // namespace quillmere
