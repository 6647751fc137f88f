#include "audio/VADProcessingService.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <thread>

#include "base/async/TaskScope.h"
#include "support/FakeAudioResampler.h"
#include "support/FakeErrorReporting.h"
#include "support/FakeMediaEncoder.h"
#include "support/FakeMediaReader.h"
#include "support/FakeVoiceActivityModel.h"
#include "support/FakeWavWriter.h"
#include "support/Files.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

constexpr qint64 conversionThreshold = 26214400;

class VADProcessingServiceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    writeFile(folder.filePath(VADModelManager::fileName()));
    // Two pieces of a second each, far apart, in a recording of forty.
    model.answer = {{1000, 1100}, {2000, 2100}};
  }
  // A recording whose samples grow with time.
  QString recording(const QString& name = "talk.wav", double seconds = 40) {
    const QString path = sparseFile(name, 8);
    FakeMediaFile& media = readers.files[path];
    media.format = {16000, 1, AudioStreamFormat::SampleKind::float32, false, 0};
    media.frames = qint64(seconds * 16000);
    media.sample = [](qint64 frame) { return float(frame) / 1e6f; };
    media.blockFrames = 16000;
    return path;
  }
  VADProcessingResult process(const QString& path, double seconds = 40, bool isEnabled = true) {
    return runTask(executor, service.process(path, seconds, isEnabled, "Test"));
  }
  void expectOriginal(const VADProcessingResult& result, const QString& path, bool wasProcessed) {
    EXPECT_EQ(result.finalAudioPath, path);
    EXPECT_EQ(result.originalAudioPath, path);
    EXPECT_EQ(result.wasProcessed, wasProcessed);
    EXPECT_FALSE(result.trimResult);
  }
  QString sparseFile(const QString& name, qint64 bytes) {
    QFile file(folder.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.resize(bytes));
    readers.files[file.fileName()].frames = 100;
    return file.fileName();
  }
  QStringList files() const { return QDir(folder.path()).entryList(QDir::Files); }

  QTemporaryDir folder;
  Logging logging;
  ManualExecutor executor;
  FakeMediaReaderFactory readers;
  FakeAudioResamplerFactory resamplers;
  FakeMediaEncoder encoder;
  FakeWavWriterFactory writers;
  FakeVoiceActivityModel model;
  FakeErrorReporting reporting;
  WorkerPool pool{2, "test"};
  AudioConverter converter{readers, resamplers, pool, logging};
  AudioFileConverter fileConverter{readers, encoder, pool, logging};
  VADModelManager modelManager{{folder.filePath("nowhere"), folder.path()}, logging};
  VoiceActivityDetector detector{model, modelManager, logging};
  VADProcessingService service{{detector, converter, fileConverter, readers, writers, pool, &reporting}, logging};
};

TEST_F(VADProcessingServiceTest, CutsOutTheSilence) {
  const QString path = recording("a.b.wav");
  const VADProcessingResult result = process(path);
  EXPECT_EQ(result.finalAudioPath, folder.filePath("a.b_trimmed.wav"));
  EXPECT_TRUE(result.wasProcessed);
  ASSERT_TRUE(result.trimResult);
  EXPECT_EQ(result.trimResult->segmentCount, 2);
  EXPECT_NEAR(result.trimResult->trimmedDuration, 2.2, 0.001);

  EXPECT_EQ(writers.seenRate, 16000);
  ASSERT_NEAR(double(writers.samples.size()), 35200, 2);
  // The first comes from 9.95 s, the last from just before 21.05 s.
  EXPECT_NEAR(double(writers.samples.front()), 0.1592, 1e-5);
  EXPECT_NEAR(double(writers.samples.back()), 0.3368, 1e-5);

  process(path);
  EXPECT_EQ(model.loads, 1) << "the model stays loaded";
}

TEST_F(VADProcessingServiceTest, WhatIsShortOrSwitchedOffIsNotEvenOpened) {
  const QString path = recording();
  expectOriginal(process(path, 29.9), path, false);
  expectOriginal(process(path, 40, false), path, false);
  EXPECT_TRUE(readers.opened.empty());
  EXPECT_EQ(model.loads, 0);
  EXPECT_TRUE(process(path, 30.0).wasProcessed);
}

TEST_F(VADProcessingServiceTest, EveryFailureEndsInTheOriginal) {
  const PlatformError broken{"fake", 1, "broken"};
  struct Case {
    const char* name;
    std::function<void()> spoil;
    bool isReported = true;
  };
  const Case cases[] = {
      {"silence", [&] { model.answer->clear(); }, false},
      {"hardly any silence",
       [&] {
         model.answer = {{0, 3950}};
       },
       false},
      {"too short",
       [&] {
         model.answer = {{1000, 1010}};
       }},
      {"analysis", [&] { model.answer.reset(); }},
      {"unreadable", [&] { readers.files.clear(); }},
      {"empty", [&] { readers.files.first().frames = 0; }},
      {"missing", [&] { QFile::remove(folder.filePath("talk.wav")); }},
      {"disk full", [&] { writers.appendError = broken; }},
      {"disk full at the end", [&] { writers.finishError = broken; }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    readers.files.clear();
    model.answer = {{1000, 1100}};
    writers.createError = writers.appendError = writers.finishError = std::nullopt;
    reporting.messages.clear();
    const QString path = recording();
    c.spoil();
    expectOriginal(process(path), path, true);
    EXPECT_FALSE(files().contains("talk_trimmed.wav"));
    EXPECT_EQ(reporting.messages.size(), c.isReported ? 1u : 0u);
  }
}

TEST_F(VADProcessingServiceTest, AModelThatIsMissingOrBadLeavesTheOriginal) {
  const QString path = recording();
  model.loadError = PlatformError{"speech", 22, "not the one"};
  reporting.isOn = false;
  expectOriginal(process(path), path, true);
  EXPECT_TRUE(reporting.messages.empty()) << "the user has switched reports off";

  VADModelManager empty({}, logging);
  VoiceActivityDetector without(model, empty, logging);
  EXPECT_EQ(runTask(executor, without.loadModel()).error(), VADError::modelNotFound);
}

TEST_F(VADProcessingServiceTest, WhatIsTrimmedIsAWavByItsNameAndTakesTheNameOfNothing) {
  const QString other = sparseFile("talk_trimmed.wav", 7);
  EXPECT_EQ(process(recording("talk.M4A")).finalAudioPath, folder.filePath("talk_trimmed_2.wav"));
  EXPECT_EQ(process(recording("talk.mp3")).finalAudioPath, folder.filePath("talk_trimmed_3.wav"));
  EXPECT_EQ(QFileInfo(other).size(), 7);
}

TEST_F(VADProcessingServiceTest, ALargeWavBecomesM4A) {
  const auto convert = [&](const QString& path) {
    return runTask(executor, service.compressLargeWav(path, QString()));
  };
  const QString m4a = folder.filePath("big_upload.m4a");
  const QString small = sparseFile("big.wav", conversionThreshold - 1);
  EXPECT_EQ(convert(small), small);
  const QString missing = folder.filePath("missing.wav");
  EXPECT_EQ(convert(missing), missing);
  const QString other = sparseFile("big.flac", conversionThreshold);
  EXPECT_EQ(convert(other), other);

  const QString big = sparseFile("big.WAV", conversionThreshold);
  readers.files[m4a] = readers.files[big];
  EXPECT_EQ(convert(big), m4a);
  EXPECT_TRUE(QFileInfo::exists(m4a));
  EXPECT_TRUE(QFileInfo::exists(big)) << "the WAV stays beside it";
}

TEST_F(VADProcessingServiceTest, TheFallbackFollowsAndThenTheWav) {
  const QString m4a = folder.filePath("big_upload.m4a");
  const QString big = sparseFile("big.wav", conversionThreshold);
  const MediaError broken{MediaError::Kind::writeFailed, 1, "broken"};
  struct Case {
    bool doesPrimaryFail, isTargetReadable, doesFallbackFail, isM4A;
  };
  for (const Case& c :
       {Case{true, true, false, true}, Case{true, true, true, false}, Case{false, false, false, false}}) {
    reporting.messages.clear();
    encoder.finishError = c.doesPrimaryFail ? std::optional(broken) : std::nullopt;
    encoder.exportStatus =
        c.doesFallbackFail ? MediaExportSession::Status::failed : MediaExportSession::Status::completed;
    readers.files.remove(m4a);
    if (c.isTargetReadable) readers.files[m4a] = readers.files[big];
    EXPECT_EQ(runTask(executor, service.compressLargeWav(big, QString())), c.isM4A ? m4a : big);
    EXPECT_EQ(QFileInfo::exists(m4a), c.isM4A);
    QFile::remove(m4a);  // as the caller does
    EXPECT_EQ(reporting.messages.size(), c.isM4A ? 0u : 1u);
  }
}

TEST_F(VADProcessingServiceTest, ACancelStopsTheAnalysisAndLeavesNothing) {
  const QString path = recording();
  std::atomic<bool> isRunning{false};
  model.onSegments = [&](const std::atomic<bool>& stop) {
    isRunning = true;
    while (!stop) std::this_thread::yield();
  };
  TaskScope scope(executor);
  auto handle = scope.spawn(service.process(path, 40, true, QString()));
  while (!isRunning) {
    executor.runReady();
    std::this_thread::yield();
  }
  handle.cancel();
  EXPECT_THROW(runTask(executor, handle.join()), Cancelled);
  EXPECT_FALSE(files().contains("talk_trimmed.wav"));
  model.onSegments = nullptr;
  EXPECT_TRUE(process(path).trimResult) << "the next one works";
}

// The file may be whole when the cancel comes, and only the news of it on its way.
TEST_F(VADProcessingServiceTest, ACancelAtAnyTurnLeavesNoFile) {
  const QString path = recording();
  for (int turns = 0; turns < 40; ++turns) {
    for (const bool isScopeDeath : {false, true}) {
      std::optional<TaskScope> scope(executor);
      auto handle = scope->spawn(service.process(path, 40, true, QString()));
      for (int turn = 0; turn < turns; ++turn) {
        while (executor.queuedCount() == 0 && executor.externalWorkCount() > 0) std::this_thread::yield();
        executor.runOne();
      }
      if (handle.isDone()) return;
      while (executor.queuedCount() == 0 && executor.externalWorkCount() > 0) std::this_thread::yield();
      if (isScopeDeath)
        scope.reset();
      else
        handle.cancel();
      executor.runUntilIdle();
      EXPECT_EQ(files().filter("trimmed"), QStringList()) << turns << isScopeDeath;
    }
  }
  ADD_FAILURE() << "the trimming never ended";
}

}  // namespace
}  // namespace quillmere
