#include <gtest/gtest.h>

#include "interface/WaveformCache.h"
#include "interface/WaveformSamples.h"
#include "interface/WaveformVisualizer.h"
#include "support/FakeMediaReader.h"
#include "support/RecordingLogSink.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

class Source final : public WaveformSource {
 public:
  qint64 frames = 0;
  std::function<float(qint64)> value = [](qint64) { return 0.1F; };
  qint64 failsAt = -1;
  std::vector<qint64> asked;
  qint64 length() const override { return frames; }
  std::optional<std::vector<float>> read(qint64 frame, qint64 count) override {
    asked.push_back(frame);
    if (frame == failsAt) return std::nullopt;
    std::vector<float> result;
    for (qint64 i = frame; i < std::min(frame + count, frames); ++i) result.push_back(value(i));
    return result;
  }
};

TEST(Waveform, MeasuresAtEvenPlaces) {
  Source source;
  source.frames = 10'000;
  source.value = [](qint64 i) { return i < 5000 ? -0.1F : 0.5F; };
  source.failsAt = 2500;
  const auto bars = waveformSamples(source, 4);
  EXPECT_EQ(source.asked, (std::vector<qint64>{0, 2500, 5000, 7500}));
  ASSERT_EQ(bars.size(), 4U);
  EXPECT_NEAR(bars[0], 0.3F, 1e-5F);
  EXPECT_EQ(bars[1], 0) << "can't be read";
  EXPECT_EQ(bars[2], 1.0F) << "capped";
}

TEST(Waveform, StaysWithinTheFile) {
  Source source;
  source.frames = 300;
  EXPECT_EQ(waveformSamples(source, 3).size(), 3U);
  EXPECT_EQ(source.asked, (std::vector<qint64>{0, 44, 44}));
  source.asked.clear();
  source.frames = 100;
  EXPECT_NEAR(waveformSamples(source, 2)[1], 0.3F, 1e-5F);
  EXPECT_EQ(source.asked, (std::vector<qint64>{0, 0}));
  source.frames = 0;
  EXPECT_EQ(waveformSamples(source, 2), (std::vector<float>{0, 0}));
}

TEST(Waveform, ReadsFilesThatComeInBlocks) {
  FakeMediaReaderFactory readers;
  FakeMediaFile file;
  file.frames = file.duration = 40'000;
  file.nominalFrames = 40'000;
  file.blockFrames = 700;
  file.sample = [](qint64 frame) { return frame >= 20'000 ? 0.2F : 0.0F; };
  readers.files[QStringLiteral("/a.wav")] = file;
  const auto bars = waveformSamples(readers, QStringLiteral("/a.wav"), 100, Logger());
  ASSERT_EQ(bars.size(), 100U);
  for (size_t i = 0; i < 100; ++i) EXPECT_NEAR(bars[i], i < 50 ? 0.0F : 0.6F, 0.001F) << i;
  // A long one is only looked into.
  file.canSeek = true;
  file.frames = file.duration = 40'000'000;
  file.nominalFrames = 40'000'000;
  qint64 made = 0;
  file.sample = [&made](qint64 frame) {
    ++made;
    return frame >= 20'000'000 ? 0.2F : 0.0F;
  };
  readers.files[QStringLiteral("/long.wav")] = file;
  const auto few = waveformSamples(readers, QStringLiteral("/long.wav"), 4, Logger());
  ASSERT_EQ(few.size(), 4U);
  for (size_t i = 0; i < 4; ++i) EXPECT_NEAR(few[i], i < 2 ? 0.0F : 0.6F, 0.001F) << i;
  EXPECT_LE(made, 4 * 256 * 2) << "of two channels";
  file.canSeek = false;
  file.frames = file.duration = 40'000;
  file.nominalFrames = 40'000;

  file.readErrorAt = 10'000;
  readers.files[QStringLiteral("/broken.wav")] = file;
  EXPECT_EQ(waveformSamples(readers, QStringLiteral("/broken.wav"), 4, Logger()), (std::vector<float>{0, 0, 0, 0}));
}

TEST(Waveform, KeepsTheLastHundred) {
  ManualExecutor executor;
  WorkerPool pool(1);
  FakeMediaReaderFactory readers;
  const auto log = std::make_shared<RecordingLogSink>();
  FakeMediaFile file;
  file.frames = 1000;
  file.nominalFrames = 1000;
  for (int i = 0; i <= WaveformCache::countLimit; ++i) readers.files[QStringLiteral("/%1").arg(i)] = file;
  WaveformCache cache(readers, pool, Logging(log));
  for (int i = 0; i <= WaveformCache::countLimit; ++i) {
    auto task = cache.samples(QStringLiteral("/%1").arg(i), 10);
    EXPECT_EQ(runTask(executor, std::move(task)).size(), 10U);
  }
  EXPECT_FALSE(cache.contains(QStringLiteral("/0"), 10));
  const size_t opened = readers.opened.size();
  EXPECT_EQ(runTask(executor, cache.samples(QStringLiteral("/100"), 10)).size(), 10U);
  EXPECT_EQ(readers.opened.size(), opened);
  EXPECT_EQ(runTask(executor, cache.samples(QStringLiteral("/100"), 20)).size(), 20U);

  EXPECT_TRUE(runTask(executor, cache.samples(QStringLiteral("/missing"), 10)).empty());
  EXPECT_FALSE(cache.contains(QStringLiteral("/missing"), 10));
  EXPECT_EQ(log->publicLines(),
            QStringList{QStringLiteral("Error loading audio file for waveform: No such file or directory")});
}

TEST(Waveform, ShowsTheFileThatWasAskedForLast) {
  ManualExecutor executor;
  WorkerPool pool(1);
  FakeMediaReaderFactory readers;
  FakeMediaFile file;
  file.frames = 1000;
  file.nominalFrames = 1000;
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
