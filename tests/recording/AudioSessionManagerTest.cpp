#include "recording/AudioSessionManager.h"

#include <gtest/gtest.h>

#include "recording/MusicBlocker.h"
#include "recording/PowerActivityManager.h"
#include "support/FakeMediaPlayback.h"
#include "support/FakeOutputVolume.h"
#include "support/FakePowerActivity.h"
#include "support/FakeWorkspace.h"
#include "support/ManualExecutor.h"
#include "support/RecordingLogSink.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

TEST(AudioSessionManagerTest, PausesAndResumesOnce) {
  ManualExecutor executor;
  const FixedClock clock(QDateTime::fromSecsSinceEpoch(1700000000, Qt::UTC));
  FakeOutputVolume output;
  FakeMediaPlayback playback;
  AudioSessionManager manager(output, playback, clock, Logging());
  runTask(executor, manager.resumeMedia(std::nullopt));
  EXPECT_EQ(playback.plays, 0) << "not what somebody else has paused";
  for (int round = 0; round < 2; ++round) {
    const auto state = runTask(executor, manager.pauseMedia());
    EXPECT_TRUE(state.didPauseMedia);
    EXPECT_EQ(playback.playing, 0);
    runTask(executor, manager.resumeMedia(state));
    EXPECT_EQ(playback.playing, 1);
    runTask(executor, manager.resumeMedia(state));
  }
  EXPECT_EQ(playback.plays, 2);
  EXPECT_EQ(playback.listens, 1);
  EXPECT_EQ(output.writes, 0);
}

TEST(MusicBlockerTest, EndsTheTwoPlayersAndNothingElse) {
  const auto log = std::make_shared<RecordingLogSink>();
  FakeWorkspace workspace;
  {
    MusicBlocker blocker(workspace, Logging(log));
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
    EXPECT_TRUE(log->contains(QStringLiteral("Failed to block com.apple.iTunes from launching")));
    blocker.stop();
    EXPECT_EQ(workspace.launchObserverCount(), 0u);
    blocker.start();
  }
  EXPECT_EQ(workspace.launchObserverCount(), 0u) << "nor behind its end";
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
