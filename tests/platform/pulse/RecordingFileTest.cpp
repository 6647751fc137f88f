#include "platform/pulse/RecordingFile.h"

#include <QDir>
#include <QFile>
#include <atomic>

#include "platform/pulse/PulseFixture.h"

namespace quillmere {
namespace {

class RecordingFileTest : public testing::Test {
 protected:
  RecordingFile::Callbacks callbacks() {
    return {.opened = [](const Result<void, PlatformError>&) {},
            .failed = [this](PlatformError) { ++failures; },
            .completed = [this] { isCompleted = true; }};
  }
  // A piece of a ramp that goes on.
  void send(RecordingFile& file, int count) {
    std::vector<std::int16_t> samples;
    for (; count > 0; --count) samples.push_back(std::int16_t(sent++ % 20'000));
    file.append(samples);
  }
  static bool isRamp(const RecordedWave& wave) {
    for (size_t i = 0; i < wave.samples.size(); ++i)
      if (int(std::lround(wave.samples[i] * 32768)) != int(i % 20'000)) return false;
    return true;
  }
  bool waitForSize(qint64 bytes) {
    return waitUntil([&] { return QFile(path).size() >= bytes; });
  }

  QTemporaryDir folder;
  QString path = folder.filePath("recordings/take.wav");
  std::atomic<int> failures = 0;
  std::atomic<bool> isCompleted = false;
  int sent = 0;
};

TEST_F(RecordingFileTest, AFolderThatGoesComesBackWithEverything) {
  ASSERT_TRUE(QDir().mkpath(folder.filePath("recordings")));
  RecordingFile file(path, callbacks());
  send(file, 16'000);
  ASSERT_TRUE(waitForSize(44 + 32'000));
  ASSERT_TRUE(QDir(folder.filePath("recordings")).removeRecursively());
  for (int i = 0; i < 1000; ++i) send(file, 20);  // more than a second: it is missed while recording
  ASSERT_TRUE(waitForSize(44 + 72'000));
  ASSERT_TRUE(QDir(folder.filePath("recordings")).removeRecursively());
  send(file, 500);  // and at the end
  file.completeAndWait();
  EXPECT_EQ(failures, 0);
  const RecordedWave wave(path);
  EXPECT_TRUE(wave.isAsPromised);
  EXPECT_TRUE(wave.isComplete);
  EXPECT_EQ(wave.samples.size(), 36'500u);
  EXPECT_TRUE(isRamp(wave));
}

TEST_F(RecordingFileTest, AFolderThatCantComeBackIsTold) {
  ASSERT_TRUE(QDir().mkpath(folder.filePath("recordings")));
  RecordingFile file(path, callbacks());
  send(file, 100);
  ASSERT_TRUE(waitForSize(44 + 200));
  ASSERT_TRUE(QDir(folder.filePath("recordings")).removeRecursively());
  ASSERT_TRUE(QFile(folder.filePath("recordings")).open(QIODevice::WriteOnly));
  send(file, 40'000);
  ASSERT_TRUE(waitUntil([&] { return failures == 1; }));
  send(file, 40'000);
  file.completeAndWait();
  EXPECT_EQ(failures, 1) << "once";
  EXPECT_TRUE(isCompleted);
}

}  // namespace
}  // namespace quillmere
