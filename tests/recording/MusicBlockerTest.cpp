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

TEST(PowerActivityManagerTest, HoldsOneTokenAtATime) {
  const auto log = std::make_shared<RecordingLogSink>();
  FakePowerActivity power;
  PowerActivityManager manager(power, Logging(log));
  manager.end();
  EXPECT_TRUE(log->lines().isEmpty());
  manager.begin(QStringLiteral("Audio recording"));
  manager.begin(QStringLiteral("Streaming transcription"));
  EXPECT_EQ(power.reasons, QStringList{QStringLiteral("Audio recording")});
  EXPECT_EQ(power.held(), 1);
  manager.end();
  manager.end();
  EXPECT_EQ(power.held(), 0);
  EXPECT_EQ(log->lines(), (QStringList{"🔋 Began power activity: Audio recording", "🔋 Ended power activity"}));
}

}  // namespace
}  // namespace quillmere
