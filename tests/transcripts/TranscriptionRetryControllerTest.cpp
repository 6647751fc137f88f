#include "transcripts/TranscriptionRetryController.h"

#include <gtest/gtest.h>

#include "transcripts/RoadFixture.h"

namespace quillmere {
namespace {

struct RetryFixture : RoadFixture {
  RetryFixture() {
    transcript = persistence->createTranscript(3.0, "Mail", audioPath);
    transcript->status = "failed";
    persistence->save();
  }
  Result<TranscriptionResult, AnyError> retry(ModePtr mode = nullptr) {
    return runTask(executor, controller.retry(transcript, std::move(mode)));
  }

  TranscriptionRetryController controller{*persistence, *road, Logging()};
  TranscriptPtr transcript;
};

TEST(TranscriptionRetryController, AMissingFileChangesNothing) {
  for (const std::optional<QString>& path :
       {std::optional<QString>(), std::optional<QString>("/nowhere/a.wav"), std::optional<QString>("/")}) {
    RetryFixture f;
    f.transcript->audioFilePath = path;
    f.persistence->save();
    const Transcript before = *f.transcript;
    const auto result = f.retry();
    ASSERT_FALSE(result);
    EXPECT_EQ(classify(result.error()).code, "audio_file_not_found");
    EXPECT_EQ(*f.transcript, before);
    EXPECT_TRUE(f.transcriber.requests.empty());
  }
}

TEST(TranscriptionRetryController, UsesTheRowAgainUnderItsModeOrAnother) {
  RetryFixture f;
  const auto modeOf = [&] {
    f.transcript->status = TranscriptStatus::failed;
    EXPECT_TRUE(f.retry());
    return f.transcriber.requests.back().mode;
  };
  ModeData data;
  data.name = "mail";
  const ModePtr otherCase = f.persistence->createMode(data);
  EXPECT_EQ(modeOf(), nullptr);
  data.name = "Mail";
  const ModePtr exact = f.persistence->createMode(data);
  f.persistence->save();
  EXPECT_EQ(modeOf(), exact);
  f.transcript->modeRelationship = otherCase;
  EXPECT_EQ(modeOf(), otherCase);
  f.transcriber.error = AnyError(TranscriptionError{TranscriptionError::Busy{}});
  f.transcript->status = TranscriptStatus::failed;
  EXPECT_FALSE(f.retry(exact));
  EXPECT_EQ(f.transcriber.requests.back().mode, exact);
  EXPECT_EQ(f.transcript->transcribedText, "spoken") << "of the try before";
  EXPECT_EQ(f.vad.calls.at(0).duration, 3.0);
  EXPECT_EQ(f.onlyRow(), f.transcript);
}

TEST(TranscriptionRetryController, ATextThatIsThereStays) {
  RetryFixture f;
  f.transcript->status = TranscriptStatus::completed;
  f.transcript->text = "good";
  f.persistence->save();
  const Transcript before = *f.transcript;
  const QString path = *f.transcript->audioFilePath;
  f.transcript->audioFilePath = "/nowhere/a.wav";
  EXPECT_FALSE(f.retry());
  EXPECT_EQ(f.onlyRow(), f.transcript) << "no row of a try that can't be";
  f.transcript->audioFilePath = path;
  ASSERT_TRUE(f.retry());
  EXPECT_EQ(*f.transcript, before);
  const auto rows = f.persistence->fetchTranscripts(-1);
  ASSERT_EQ(rows.size(), 2u);
  const TranscriptPtr& fresh = rows[0] == f.transcript ? rows[1] : rows[0];
  EXPECT_EQ(fresh->status, TranscriptStatus::completed);
  EXPECT_EQ(fresh->transcribedText, "spoken");
  EXPECT_EQ(fresh->audioFilePath, path);
  EXPECT_EQ(fresh->mode, "Mail");
  EXPECT_EQ(fresh->duration, 3.0);
}

}  // namespace
}  // namespace quillmere
