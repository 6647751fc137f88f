#include <gtest/gtest.h>

#include "transcripts/RoadFixture.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Stage = TranscriptJob::Stage;

const AnyError busy = TranscriptionError{TranscriptionError::Busy{}};

TEST(TranscriptRoad, MakesTheRowFirstAndHandsOnWhatTheJobCarriesAndHears) {
  RoadFixture f;
  ModeData data;
  data.name = "Letters";
  auto job = f.job();
  job.mode = f.persistence->createMode(data);
  job.session = f.persistence->insertRecordingSession();
  job.session->status = "awaiting_transcript";
  job.selectedText = "marked";
  job.applicationContext.emplace().appName = "Editor";
  QStringList heard;
  job.onRow = [&](const TranscriptPtr& row) {
    heard << QStringLiteral("row");
    EXPECT_EQ(row, f.onlyRow());
    EXPECT_EQ(row->status, "processing");
    EXPECT_EQ(row->mode, "Letters");
    EXPECT_EQ(row->modeRelationship, job.mode);
    EXPECT_EQ(row->recordingSession->status, std::nullopt) << "settled";
    EXPECT_FALSE(f.persistence->hasChanges());
    EXPECT_TRUE(f.vad.calls.empty());
  };
  job.onStage = [&](Stage stage) { heard << QStringLiteral("stage %1").arg(int(stage)); };
  job.onProgress = [&](float share) { heard << QString::number(share); };
  job.onRewrittenText = [&](const QString& text) { heard << text; };
  job.onRewritingProblem = [&](const TranscriptionError&) { heard << "problem"; };
  f.transcriber.progress = {0.25F, 1.0F};
  f.transcriber.rewrites = true;
  const TranscriptOutcome outcome = runTask(f.executor, f.road->run(job));
  EXPECT_EQ(outcome.row, f.onlyRow());
  EXPECT_EQ(heard, (QStringList{"row", "stage 0", "stage 1", "0.25", "1", "stage 2", "so far", "problem"}));
  const TranscriptionRequest& request = f.transcriber.requests.at(0);
  EXPECT_EQ(request.recordingSession, outcome.row->recordingSession);
  EXPECT_EQ(request.mode, job.mode);
  EXPECT_EQ(request.selectedText, "marked");
  EXPECT_EQ(request.applicationContext, job.applicationContext);
}

// Every end of a job, on a new row and on one of an earlier try.
TEST(TranscriptRoad, LeavesNoRowInProcessing) {
  enum class End { text, rewritten, failure, cancelWhileTrimming, cancel, scopeDeath };
  struct Case {
    End end;
    const char* status;
    const char* reason;
    const char* text;  // behind "Transcription failed: " or "Retry failed: " where there is a reason
  };
  const std::vector<Case> table{{End::text, "completed", nullptr, "Rewritten."},
                                {End::rewritten, "completed", nullptr, "Rewritten."},
                                {End::failure, "failed", "transcription.error.busy", nullptr},
                                {End::cancelWhileTrimming, "failed", "transcript.failed.cancelled", nullptr},
                                {End::cancel, "failed", "transcript.failed.cancelled", nullptr},
                                {End::scopeDeath, "failed", "recording.error.closedBeforeTranscription", nullptr}};
  for (const bool isRetry : {false, true}) {
    for (const Case& c : table) {
      RoadFixture f;
      auto job = f.job();
      if (isRetry) {
        job.source = TranscriptJob::Source::retry;
        job.row = f.persistence->createTranscript(40, "Mail", f.audioPath);
        job.row->failedReason = "no network";
        f.clock.set(QDateTime::fromSecsSinceEpoch(1'700'009'999));
      }
      f.transcriber.result.wasPostProcessed = c.end == End::rewritten;
      if (c.end == End::failure) f.transcriber.error = busy;
      if (c.end == End::cancelWhileTrimming) f.vad.takes = 1s;
      f.transcriber.neverEnds = c.end == End::cancel || c.end == End::scopeDeath;
      auto scope = std::make_unique<TaskScope>(f.executor);
      auto handle = scope->spawn(f.road->run(job));
      f.executor.runReady();
      const TranscriptPtr row = f.onlyRow();
      ASSERT_TRUE(row);
      EXPECT_EQ(row->status == "processing", c.end >= End::cancelWhileTrimming);
      if (c.end == End::scopeDeath) {
        scope.reset();
      } else if (c.end >= End::cancelWhileTrimming) {
        handle.cancel();
        EXPECT_THROW((void)runTask(f.executor, handle.join()), Cancelled);
      } else {
        f.executor.runUntilIdle();
      }
      EXPECT_EQ(row->status, QString::fromLatin1(c.status));
      EXPECT_EQ(row->failedReason, c.reason ? std::optional(qtTrId(c.reason)) : std::nullopt);
      const char* const failed = isRetry ? "Retry failed: " : "Transcription failed: ";
      EXPECT_EQ(row->text, c.reason ? QString::fromLatin1(failed) + qtTrId(c.reason) : QString::fromLatin1(c.text));
      EXPECT_EQ(row->transcribedText, c.reason ? std::nullopt : std::optional<QString>("spoken"));
      EXPECT_EQ(row->retryCount, isRetry ? std::optional<qint16>(1) : std::nullopt);
      EXPECT_EQ(row->lastRetryDate, isRetry ? std::optional(f.clock.now()) : std::nullopt);
      EXPECT_FALSE(f.persistence->hasChanges());
      EXPECT_TRUE(QFile::exists(f.audioPath));
    }
  }
}

TEST(TranscriptRoad, KeepsOnlyTheTrimmedFileThatTheRowNames) {
  struct Case {
    const char* name;
    std::function<void(RoadFixture&, TranscriptJob&)> arrange;
    QStringList files;  // beside the audio
  };
  const QString trimmed = "talk_trimmed.wav";
  const std::vector<Case> table{
      {"kept", [](RoadFixture&, TranscriptJob&) {}, {trimmed}},
      {"kept after a failure", [](RoadFixture& f, TranscriptJob&) { f.transcriber.error = busy; }, {trimmed}},
      {"in the place of an older one",
       [](RoadFixture& f, TranscriptJob& job) {
         job.row = f.persistence->createTranscript(40, std::nullopt, f.audioPath);
         job.row->trimmedAudioFilePath = f.addFile("older.wav");
       },
       {trimmed}},
      {"never in the place of the recording",
       [](RoadFixture& f, TranscriptJob& job) {
         job.row = f.persistence->createTranscript(40, std::nullopt, f.audioPath);
         job.row->trimmedAudioFilePath = f.audioPath;
       },
       {trimmed}},
      {"gone with a row that was deleted meanwhile",
       [](RoadFixture& f, TranscriptJob& job) {
         job.onStage = [&f](Stage stage) {
           if (stage == Stage::trimming) f.persistence->deleteTranscript(f.onlyRow());
         };
       },
       {}},
      {"none without a row", [](RoadFixture&, TranscriptJob& job) { job.isWithoutRow = true; }, {}},
  };
  for (const Case& c : table) {
    RoadFixture f;
    f.vad.trimmedPath = f.path(trimmed);
    auto job = f.job();
    c.arrange(f, job);
    const TranscriptOutcome outcome = runTask(f.executor, f.road->run(job));
    QStringList files = f.files();
    files.removeOne("talk.wav");
    EXPECT_EQ(files, c.files) << c.name;
    if (job.isWithoutRow) {
      EXPECT_EQ(outcome.row, nullptr);
      EXPECT_EQ(f.persistence->countTranscripts(), 0);
      EXPECT_EQ(f.transcriber.requests.at(0).audioPath, f.audioPath);
    } else if (!c.files.empty()) {
      EXPECT_EQ(outcome.row->audioFilePath, f.audioPath) << c.name;
      EXPECT_EQ(outcome.row->trimmedAudioFilePath, f.path(c.files.front())) << c.name;
      EXPECT_EQ(f.transcriber.requests.at(0).audioPath, f.path(c.files.front())) << c.name;
    }
  }
}

TEST(TranscriptRoad, CompressesOnlyWhatIsSentAwayAndOnlyForThat) {
  using Source = TranscriptJob::Source;
  struct Case {
    const char* model;
    Source source;
    bool isTrimmed;
    const char* compressed;  // which file, if any
  };
  const std::vector<Case> table{{"base", Source::recording, false, ""},   {"base", Source::recording, true, ""},
                                {"Cloud", Source::recording, false, "a"}, {"cloud", Source::retry, true, "trimmed"},
                                {"cloud", Source::file, true, "trimmed"}, {"cloud", Source::file, false, ""}};
  for (const Case& c : table) {
    RoadFixture f;
    f.settings.general().setEnableVAD(false);
    auto job = f.job();
    job.source = c.source;
    job.mode = std::make_shared<Mode>();
    job.mode->model = QString::fromLatin1(c.model);
    if (c.isTrimmed) f.vad.trimmedPath = f.path("trimmed");
    f.vad.compressedPath = f.path("small.m4a");
    bool wasThere = false;
    job.onStage = [&](Stage stage) {
      if (stage == Stage::transcribing) wasThere = QFile::exists(*f.vad.compressedPath);
    };
    (void)runTask(f.executor, f.road->run(job));
    const bool isCompressed = c.compressed[0] != 0;
    EXPECT_EQ(f.vad.compressed.size(), isCompressed ? 1 : 0);
    EXPECT_EQ(wasThere, isCompressed);
    EXPECT_FALSE(QFile::exists(*f.vad.compressedPath));
    EXPECT_EQ(f.transcriber.requests.at(0).audioPath == *f.vad.compressedPath, isCompressed);
    EXPECT_FALSE(f.vad.calls.at(0).isEnabled);
  }
}

}  // namespace
}  // namespace quillmere
