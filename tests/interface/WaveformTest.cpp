#include <gtest/gtest.h>

#include "interface/WaveformCache.h"
#include "interface/WaveformSamples.h"
#include "interface/WaveformVisualizer.h"
#include "support/FakeMediaReader.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

FakeMediaFile sound(qint64 frames) {
  FakeMediaFile file;
  file.frames = file.duration = frames;
  file.nominalFrames = frames;
  return file;
}

TEST(Waveform, ReadsFilesThatComeInBlocks) {
  FakeMediaReaderFactory readers;
  const auto read = [&](const FakeMediaFile& file, int bars) {
    readers.files[QStringLiteral("/a.wav")] = file;
    return waveformSamples(readers, QStringLiteral("/a.wav"), bars, Logger());
  };
  FakeMediaFile file = sound(40'000);
  file.blockFrames = 700;
  file.sample = [](qint64 frame) { return frame >= 20'000 ? 0.2F : 0.0F; };
  const auto bars = read(file, 100);
  ASSERT_EQ(bars.size(), 100U);
  for (size_t i = 0; i < 100; ++i) EXPECT_NEAR(bars[i], i < 50 ? 0.0F : 0.6F, 0.001F) << i;
  file.readErrorAt = 10'000;
  EXPECT_EQ(read(file, 4), (std::vector<float>{0, 0, 0, 0}));
  // Shorter than its bars, empty, and too loud for a bar.
  for (const qint64 frames : {300, 100}) {
    file = sound(frames);
    file.sample = [](qint64) { return -0.1F; };
    EXPECT_NEAR(read(file, 3)[2], 0.3F, 0.001F) << frames;
  }
  EXPECT_EQ(read(sound(0), 2), (std::vector<float>{0, 0}));
  FakeMediaFile loud = sound(1000);
  loud.sample = [](qint64) { return 0.5F; };
  EXPECT_EQ(read(loud, 1), std::vector<float>{1});
  // A long one is only looked into.
  FakeMediaFile longFile = sound(40'000'000);
  longFile.blockFrames = 700;
  longFile.canSeek = true;
  qint64 made = 0;
  longFile.sample = [&made](qint64 frame) {
    ++made;
    return frame >= 20'000'000 ? 0.2F : 0.0F;
  };
  const auto few = read(longFile, 4);
  ASSERT_EQ(few.size(), 4U);
  for (size_t i = 0; i < 4; ++i) EXPECT_NEAR(few[i], i < 2 ? 0.0F : 0.6F, 0.001F) << i;
  EXPECT_LE(made, 4 * 256 * 2) << "of two channels";
}

TEST(Waveform, KeepsTheLastHundred) {
  ManualExecutor executor;
  WorkerPool pool(1);
  FakeMediaReaderFactory readers;
  WaveformCache cache(readers, pool, Logging());
  for (int i = 0; i <= WaveformCache::countLimit; ++i) {
    const QString path = QStringLiteral("/%1").arg(i);
    readers.files[path] = sound(1000);
    EXPECT_EQ(runTask(executor, cache.samples(path, 10)).size(), 10U);
  }
  EXPECT_FALSE(cache.contains(QStringLiteral("/0"), 10));
  const size_t opened = readers.opened.size();
  EXPECT_EQ(runTask(executor, cache.samples(QStringLiteral("/100"), 10)).size(), 10U);
  EXPECT_EQ(readers.opened.size(), opened);
  EXPECT_TRUE(runTask(executor, cache.samples(QStringLiteral("/missing"), 10)).empty());
  EXPECT_FALSE(cache.contains(QStringLiteral("/missing"), 10));
}

TEST(Waveform, ShowsTheFileThatWasAskedForLast) {
  ManualExecutor executor;
  WorkerPool pool(1);
  FakeMediaReaderFactory readers;
  FakeMediaFile file = sound(1000);
  readers.files[QStringLiteral("/a.wav")] = file;
  file.sample = [](qint64) { return 0.1F; };
  readers.files[QStringLiteral("/b.wav")] = file;
  WaveformCache cache(readers, pool, Logging());
  WaveformVisualizer visualizer(&cache, executor);
  visualizer.setAudioFilePath(QStringLiteral("/a.wav"));
  executor.runReady();
  visualizer.setAudioFilePath(QStringLiteral("/b.wav"));
  executor.runUntil([&] { return !visualizer.waveformSamples().isEmpty(); });
  EXPECT_EQ(visualizer.waveformSamples().size(), WaveformVisualizer::barCount);
  EXPECT_NEAR(visualizer.waveformSamples()[0].toDouble(), 0.3, 0.001);
  visualizer.setAudioFilePath(QStringLiteral("/missing.wav"));
  EXPECT_TRUE(visualizer.waveformSamples().isEmpty()) << "not the last one's";
  visualizer.setAudioFilePath({});
  executor.runUntilIdle();
  EXPECT_TRUE(visualizer.waveformSamples().isEmpty());
}

}  // namespace
}  // namespace quillmere
