#include "files/FileTranscriptionProgress.h"

#include "support/ManualExecutor.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Seconds = std::chrono::duration<double>;

// An hour of sound: the clock runs while the file is read, then the engine's shares say how long it takes.
TEST(FileTranscriptionProgressTest, ALongFileShowsLifeAndThenTheTimeLeft) {
  ManualExecutor executor;
  FileTranscriptionProgress progress(executor);
  progress.start(QStringLiteral("hour.wav"), QStringLiteral("Default"));
  executor.advance(40s);
  EXPECT_EQ(progress.state().secondsRunning, 40);
  progress.beginEngine();
  progress.tellEngine(0);
  executor.advance(90s);
  EXPECT_FLOAT_EQ(progress.state().progress, 0.15f) << "no bar that runs ahead of an engine which tells";
  EXPECT_EQ(progress.state().secondsLeft, std::nullopt);
  progress.tellEngine(0.01f);
  executor.advance(10s);
  EXPECT_EQ(progress.state().secondsLeft, std::nullopt) << "one share is no speed";
  progress.tellEngine(0.02f);
  ASSERT_TRUE(progress.state().secondsLeft);
  EXPECT_NEAR(*progress.state().secondsLeft, 980, 1);
  executor.advance(5s);
  EXPECT_NEAR(*progress.state().secondsLeft, 975, 1);
  progress.setStage(FileTranscriptionStage::finishing);
  EXPECT_EQ(progress.state().secondsLeft, std::nullopt);
  progress.reset();
  EXPECT_EQ(executor.timerCount(), 0u);
}

}  // namespace
}  // namespace quillmere
