#include "providers/TranscriptionRetryController.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include "providers/TranscriptionResultCache.h"
#include "storage/PersistenceController.h"
#include "support/FakeProviders.h"
#include "support/FakeVADProcessing.h"
#include "support/ManualExecutor.h"
#include "support/RunTask.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

struct RetryFixture {
  RetryFixture() {
    persistence = std::move(*PersistenceController::open(PersistenceController::inMemory(), clock, {}));
    QFile file(audioPath);
    if (!file.open(QIODevice::WriteOnly)) std::abort();
    controller = std::make_unique<TranscriptionRetryController>(*persistence, nullptr, nullptr, clock, Logging());
    controller->setTranscriber(&pipeline);
    transcript = persistence->createTranscript(3.0, QStringLiteral("Mail"), audioPath);
    transcript->status = QStringLiteral("failed");
    transcript->failedReason = QStringLiteral("no network");
    pipeline.result.text = QStringLiteral("Rewritten.");
    pipeline.result.rawText = QStringLiteral("spoken");
    pipeline.result.provider = QStringLiteral("Local Whisper");
    persistence->save();
  }
  Result<TranscriptionResult, AnyError> retry() { return runTask(executor, controller->retry(transcript)); }

  TestTexts texts;
  QTemporaryDir folder;
  QString audioPath = folder.filePath(QStringLiteral("a.wav"));
  FixedClock clock{QDateTime::fromSecsSinceEpoch(1'700'000'000)};
  ManualExecutor executor;
  std::unique_ptr<PersistenceController> persistence;
  FakeTranscriber pipeline;
  std::unique_ptr<TranscriptionRetryController> controller;
  TranscriptPtr transcript;
};

TEST(TranscriptionRetryController, WritesTheOutcomeOnTheTranscript) {
  for (const bool wasPostProcessed : {false, true}) {
    RetryFixture f;
    f.pipeline.result.wasPostProcessed = wasPostProcessed;
    if (wasPostProcessed) f.pipeline.result.postProcessingProvider = QStringLiteral("openai");
    f.clock.set(QDateTime::fromSecsSinceEpoch(1'700'009'999));
    ASSERT_TRUE(f.retry());
    EXPECT_EQ(f.transcript->status, QStringLiteral("completed"));
    EXPECT_EQ(f.transcript->text, wasPostProcessed ? QStringLiteral("Rewritten.") : QStringLiteral("spoken"));
    EXPECT_EQ(f.transcript->transcribedText, QStringLiteral("spoken"));
    EXPECT_EQ(f.transcript->postProcessedText.has_value(), wasPostProcessed);
    EXPECT_EQ(f.transcript->transcriptionProvider, QStringLiteral("Local Whisper"));
    EXPECT_EQ(f.transcript->failedReason, std::nullopt);
    EXPECT_EQ(f.transcript->retryCount, 1);
    EXPECT_EQ(f.transcript->lastRetryDate, f.clock.now());
    EXPECT_FALSE(f.persistence->hasChanges());
  }
}

TEST(TranscriptionRetryController, AMissingFileChangesNothing) {
  for (const std::optional<QString>& path :
       {std::optional<QString>(), std::optional<QString>(QStringLiteral("/nowhere/a.wav")),
        std::optional<QString>(QStringLiteral("/"))}) {
    RetryFixture f;
    f.transcript->audioFilePath = path;
    f.persistence->save();
    const Transcript before = *f.transcript;
    const auto result = f.retry();
    ASSERT_FALSE(result);
    EXPECT_EQ(classify(result.error()).code, QStringLiteral("audio_file_not_found"));
    EXPECT_EQ(*f.transcript, before);
    EXPECT_TRUE(f.pipeline.requests.empty());
  }
}

TEST(TranscriptionRetryController, AFailureKeepsTheFormerTranscription) {
  RetryFixture f;
  ASSERT_TRUE(f.retry());
  f.pipeline.error = AnyError(TranscriptionError{TranscriptionError::NoSpeechDetected{}});
  const QString words = localizedDescription(*f.pipeline.error);
  ASSERT_FALSE(f.retry());
  EXPECT_EQ(f.transcript->status, QStringLiteral("failed"));
  EXPECT_EQ(f.transcript->failedReason, words);
  EXPECT_EQ(f.transcript->text, QStringLiteral("Retry failed: ") + words);
  EXPECT_EQ(f.transcript->transcribedText, QStringLiteral("spoken"));
  EXPECT_EQ(f.transcript->retryCount, 2);
  EXPECT_TRUE(QFile::exists(f.audioPath));

  f.controller->setTranscriber(nullptr);
  const auto result = f.retry();
  ASSERT_FALSE(result);
  EXPECT_EQ(classify(result.error()).code, QStringLiteral("provider_not_available"));
  EXPECT_EQ(f.transcript->status, QStringLiteral("failed"));
}

TEST(TranscriptionRetryController, FindsTheModeByItsExactName) {
  RetryFixture f;
  ModeData data;
  data.name = QStringLiteral("mail");
  const ModePtr otherCase = f.persistence->createMode(data);
  ASSERT_TRUE(f.retry());
  EXPECT_EQ(f.pipeline.requests.back().mode, nullptr);
  data.name = QStringLiteral("Mail");
  const ModePtr exact = f.persistence->createMode(data);
  f.persistence->save();
  ASSERT_TRUE(f.retry());
  EXPECT_EQ(f.pipeline.requests.back().mode, exact);
  f.transcript->modeRelationship = otherCase;
  ASSERT_TRUE(f.retry());
  EXPECT_EQ(f.pipeline.requests.back().mode, otherCase);
}

TEST(TranscriptionRetryController, KeepsTheTrimmedFileOnlyOnSuccess) {
  for (const bool fails : {true, false}) {
    RetryFixture f;
    FakeVADProcessing vad;
    vad.trimmedPath = f.audioPath + QStringLiteral(".trimmed");
    TranscriptionRetryController controller(*f.persistence, nullptr, &vad, f.clock, Logging());
    controller.setTranscriber(&f.pipeline);
    if (fails) f.pipeline.error = AnyError(TranscriptionError{TranscriptionError::Busy{}});
    EXPECT_EQ(runTask(f.executor, controller.retry(f.transcript)).hasValue(), !fails);
    EXPECT_EQ(f.pipeline.requests.back().audioPath, *vad.trimmedPath);
    EXPECT_EQ(f.transcript->audioFilePath, fails ? f.audioPath : *vad.trimmedPath);
    EXPECT_FALSE(vad.calls.at(0).isEnabled);  // no settings: not trimmed
  }
}

TEST(TranscriptionRetryController, ACancelLeavesNoRowInProcessing) {
  RetryFixture f;
  f.pipeline.neverEnds = true;
  TaskScope scope(f.executor);
  auto handle = scope.spawn(f.controller->retry(f.transcript));
  f.executor.runReady();
  EXPECT_EQ(f.transcript->status, QStringLiteral("processing"));
  handle.cancel();
  EXPECT_THROW((void)runTask(f.executor, handle.join()), Cancelled);
  EXPECT_EQ(f.transcript->status, QStringLiteral("failed"));
  EXPECT_FALSE(f.persistence->hasChanges());
}

TEST(TranscriptionResultCache, StaysWithinItsSize) {
  TranscriptionResultCache cache;
  for (int i = 0; i < 250; ++i) {
    cache.store(QString::number(i), QStringLiteral("text"));
    EXPECT_EQ(cache.count(), std::min(i + 1, TranscriptionResultCache::maxCacheSize));
    EXPECT_TRUE(cache.contains(QString::number(i)));
  }
}

}  // namespace
}  // namespace quillmere
