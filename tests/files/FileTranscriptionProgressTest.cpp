#include "files/FileTranscriptionProgress.h"

#include "support/ManualExecutor.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Seconds = std::chrono::duration<double>;

TEST(FileTranscriptionProgress, MovesFromWhereItIsToTheTargetAndThenWaits) {
  ManualExecutor executor;
  FileTranscriptionProgress progress(executor);
  progress.start(QStringLiteral("talk.mp3"), QStringLiteral("Default"));
  EXPECT_TRUE(progress.state().isActive);
  EXPECT_EQ(progress.state().progress, 0.f);
  executor.advance(1s);
  EXPECT_FLOAT_EQ(progress.state().progress, 0.05f);
  EXPECT_FALSE(progress.isAnimating());

  progress.animate(0.85f, Seconds(60));
  executor.advance(30s);
  EXPECT_NEAR(progress.state().progress, 0.45f, 0.01f);
  progress.animate(0.95f, Seconds(0.3));  // starts from 0.45, not from 0.85
  executor.advance(150ms);
  EXPECT_NEAR(progress.state().progress, 0.70f, 0.03f);
  executor.advance(1h);
  EXPECT_FLOAT_EQ(progress.state().progress, 0.95f);
  progress.animate(7.f, Seconds(0));
  executor.advance(100ms);
  EXPECT_FLOAT_EQ(progress.state().progress, 1.f);
  EXPECT_EQ(executor.timerCount(), 0u);
}

TEST(FileTranscriptionProgress, CancelStopsTheBarAndResetForgetsEverything) {
  ManualExecutor executor;
  FileTranscriptionProgress progress(executor);
  int changes = 0;
  const auto watching = progress.observe([&](const auto&) { ++changes; });
  progress.start(QStringLiteral("a"), QStringLiteral("b"));
  executor.advance(100ms);
  progress.cancel();
  const float there = progress.state().progress;
  executor.advance(10s);
  EXPECT_EQ(progress.state().progress, there);
  EXPECT_TRUE(progress.state().isCancelled);
  progress.reset();
  EXPECT_EQ(progress.state(), FileTranscriptionProgressState());
  EXPECT_GT(changes, 3);
}

}  // namespace
}  // namespace quillmere
