#include "recording/RecordingsMove.h"

#include "RecordingFixture.h"
#include "support/WithoutPrivileges.h"

namespace quillmere {
namespace {

class RecordingsMoveTest : public RecordingFixture {
 protected:
  RecordingsMoveTest() {
    for (const QString& path : {recordings(), next}) QDir().mkpath(path);
  }
  TranscriptPtr row(const QString& name, const QString& status = TranscriptStatus::completed) {
    FakeAudioRecorderFactory::fill(inRecordings(name), 3000);
    return persistence->createTranscript(2, std::nullopt, inRecordings(name), status);
  }
  RecordingsMove::Outcome run() { return runTask(executor, move.run(recordings(), next)); }
  QStringList nextFiles() const { return QDir(next).entryList(QDir::Files, QDir::Name); }

  const QString next = folder.filePath("next");
  RecordingsMove move{*persistence, workers, logging};
};

TEST_F(RecordingsMoveTest, TakesAlongWhatTheHistoryNames) {
  const TranscriptPtr one = row("a.wav"), other = row("b.m4a", TranscriptStatus::discarded);
  const TranscriptPtr again = persistence->createTranscript(2, std::nullopt, inRecordings("a.wav"));
  again->status = TranscriptStatus::completed;
  FakeAudioRecorderFactory::fill(inRecordings("a_trimmed.wav"), 1000);
  persistence->setTrimmedAudioPath(one, inRecordings("a_trimmed.wav"));
  const TranscriptPtr busy = row("busy.wav", TranscriptStatus::processing);
  FakeAudioRecorderFactory::fill(inRecordings("nobody's.wav"), 1000);
  FakeAudioRecorderFactory::fill(next + "/a.wav", 7);  // somebody else's
  EXPECT_EQ(move.count(recordings()), 4);
  const auto outcome = run();
  EXPECT_EQ(outcome.moved, 3);
  EXPECT_EQ(outcome.stayed, 1) << "what is being transcribed";
  EXPECT_EQ(files(), (QStringList{"busy.wav", "nobody's.wav"}));
  EXPECT_EQ(nextFiles(), (QStringList{"a.wav", "a_2.wav", "a_trimmed.wav", "b.m4a"}));
  EXPECT_EQ(one->audioFilePath, next + "/a_2.wav");
  EXPECT_EQ(one->trimmedAudioFilePath, next + "/a_trimmed.wav");
  EXPECT_EQ(again->audioFilePath, one->audioFilePath);
  EXPECT_EQ(other->audioFilePath, next + "/b.m4a");
  EXPECT_EQ(QFileInfo(next + "/a_2.wav").size(), 3000);
  EXPECT_FALSE(persistence->hasChanges());
}

TEST_F(RecordingsMoveTest, AFailureLeavesTheRestWhereItIs) {
  const TranscriptPtr one = row("a.wav"), other = row("b.wav");
  QFile::setPermissions(next, QFile::Permissions(0x5555));
  QFile::setPermissions(folder.path(), QFile::Permissions(0x7777));
  {
    const WithoutPrivileges scope;
    const auto outcome = run();
    EXPECT_EQ(outcome.moved, 0);
    EXPECT_EQ(outcome.stayed, 2);
    EXPECT_FALSE(outcome.reason.isEmpty());
  }
  for (const TranscriptPtr& each : {one, other}) EXPECT_TRUE(QFile::exists(*each->audioFilePath));
  QFile::setPermissions(next, QFile::Permissions(0x7777));
}

// At whatever turn it ends, each row names a file that is whole.
TEST_F(RecordingsMoveTest, ACancelLeavesEveryRowWithItsFile) {
  const std::vector<TranscriptPtr> rows{row("a.wav"), row("b.wav")};
  for (int turns = 0; turns < 60; ++turns) {
    TaskScope scope(executor);
    auto handle = scope.spawn(move.run(recordings(), next));
    for (int turn = 0; turn < turns; ++turn)
      if (!executor.runOne()) executor.runUntilIdle();
    if (handle.isDone()) break;
    handle.cancel();
    executor.runUntilIdle();
    for (const TranscriptPtr& each : rows) EXPECT_EQ(QFileInfo(*each->audioFilePath).size(), 3000) << turns;
  }
}

}  // namespace
}  // namespace quillmere
