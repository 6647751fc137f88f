#include "recording/CrashRecoveryManager.h"

#include "RecordingFixture.h"
#include "support/WithoutPrivileges.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

class CrashRecoveryManagerTest : public RecordingFixture {
 protected:
  // The folder was another one while the lost ones were recorded.
  CrashRecoveryManagerTest() {
    QDir().mkpath(recordings());
    settings.storage().changeRecordingsFolder(now());
  }
  QString now() const { return folder.filePath("new recordings"); }

  // A row without an end that names a raw file of that size (-1: no file).
  RecordingSessionPtr orphan(const std::optional<QString>& name, qint64 bytes) {
    const RecordingSessionPtr session = persistence->insertRecordingSession();
    session->startTime = clock.now().addSecs(-60 + qint64(++orphans_));
    if (name) session->audioFilePath = inRecordings(*name);
    persistence->save();
    if (name && bytes >= 0) FakeAudioRecorderFactory::fill(inRecordings(*name), bytes);
    return session;
  }
  // A recovery of the process with these processLocks.
  struct Program {
    Program(CrashRecoveryManagerTest& test, ProcessLocks& its)
        : sessions(*test.persistence, test.clock, its, test.logging),
          manager({*test.persistence, sessions, its, test.converter, test.samples, test.clock, test.settings.storage(),
                   &test.reporting},
                  test.logging) {}
    RecordingSessionManager sessions;
    CrashRecoveryManager manager;
  };
  std::vector<RecoveredRecording> recover() {
    Program program(*this, otherLocks);
    auto recovered = runTask(otherExecutor, program.manager.recoverOrphanedRecordings());
    EXPECT_FALSE(persistence->hasChanges());
    EXPECT_TRUE(otherLocks.held().empty());
    return recovered;
  }
  QString target(const RecordingSessionPtr& session, const char* extension) const {
    return now() + u'/' + session->id->toString(QUuid::WithoutBraces) + u'.' + QLatin1String(extension);
  }
  bool isRowThere(const RecordingSessionPtr& session) {
    return persistence->fetchRecordingSession(*session->id) != nullptr;
  }

  FakeProcessLocks otherLocks{processLocks.machine()};
  ManualExecutor otherExecutor;

 private:
  int orphans_ = 0;
};

TEST_F(CrashRecoveryManagerTest, WhatCantBeSavedGoesWithItsRow) {
  const std::pair<std::optional<QString>, qint64> cases[] = {
      {std::nullopt, -1},         {"old.CAF", 9000},         {"gone.caf", -1},       {"talk.mp3", 9000},
      {".incomplete_a.wav", 100}, {".incomplete_b.wav", -1}, {".damaged.wav", 50000}};
  for (const auto& [name, bytes] : cases) {
    if (bytes == 50000) samples.openError = MediaError::Kind::cannotOpen;
    const RecordingSessionPtr session = orphan(name, bytes);
    EXPECT_TRUE(recover().empty());
    EXPECT_FALSE(isRowThere(session));
    EXPECT_TRUE(files().isEmpty());
  }
  EXPECT_TRUE(persistence->fetchTranscripts(-1).empty());
}

TEST_F(CrashRecoveryManagerTest, SavesTheSmallestAndTheLargest) {
  for (const qint64 bytes : {101, 26214399, 26214400}) {
    const char* const format = bytes == 26214400 ? "m4a" : "wav";
    const RecordingSessionPtr session = orphan(".incomplete_x.wav", bytes);
    const auto recovered = recover();
    ASSERT_EQ(recovered.size(), 1u) << bytes;
    EXPECT_EQ(recovered[0].path, target(session, format));
    EXPECT_TRUE(QFile::exists(recovered[0].path));
    EXPECT_TRUE(files().isEmpty());
    EXPECT_EQ(session->audioFilePath, recovered[0].path);
    const TranscriptPtr transcript = persistence->fetchTranscriptOfSession(session);
    ASSERT_TRUE(transcript) << "the history shows it";
    EXPECT_EQ(transcript->status, "failed");
    EXPECT_EQ(transcript->audioFilePath, recovered[0].path);
    EXPECT_EQ(transcript->date, session->startTime);
  }
  EXPECT_TRUE(recover().empty()) << "once";
  EXPECT_EQ(persistence->fetchTranscripts(-1).size(), 3u);
}

TEST_F(CrashRecoveryManagerTest, AFailedConversionIsTriedAgainAndHoldsNobodyUp) {
  orphan(".incomplete_0.wav", 5000);
  const RecordingSessionPtr large = orphan(".incomplete_1.wav", 26214400);
  const RecordingSessionPtr small = orphan(".incomplete_2.wav", 5000);
  encoder.failures = 1;
  auto recovered = recover();
  ASSERT_EQ(recovered.size(), 2u);
  EXPECT_EQ(recovered[1].session, small);
  EXPECT_FALSE(large->endTime);
  EXPECT_EQ(files(), QStringList{".incomplete_1.wav"});
  EXPECT_FALSE(QFile::exists(target(large, "m4a")));
  EXPECT_EQ(persistence->fetchTranscripts(-1).size(), 2u);
  recovered = recover();
  ASSERT_EQ(recovered.size(), 1u);
  EXPECT_EQ(recovered[0].path, target(large, "m4a"));
}

TEST_F(CrashRecoveryManagerTest, FoldersThatCantBeWritten) {
  const RecordingSessionPtr session = orphan(".incomplete_1.wav", 5000);
  QDir(now()).removeRecursively();
  for (const QString& path : {now(), folders.applicationSupport, folders.downloads, folders.temporary}) {
    QDir(path).removeRecursively();
    ASSERT_TRUE(QFile(path).open(QIODevice::WriteOnly));
  }
  EXPECT_TRUE(recover().empty());
  EXPECT_TRUE(isRowThere(session));
  EXPECT_EQ(files(), QStringList{".incomplete_1.wav"});

  // There is a place now, but the old one lets nothing go.
  QFile::remove(now());
  ASSERT_TRUE(QDir().mkpath(now()));
  for (const QString& path : {folder.path(), now()}) QFile::setPermissions(path, QFile::Permissions(0x7777));
  QFile::setPermissions(recordings(), QFile::Permissions(0x5555));
  {
    const WithoutPrivileges scope;
    ASSERT_EQ(recover().size(), 1u);
  }
  EXPECT_EQ(QFileInfo(target(session, "wav")).size(), 5000);
  QFile::setPermissions(recordings(), QFile::Permissions(0x7777));
}

// At no moment from the row to the history does a recovery, of this process or of another, take a living recording.
TEST_F(CrashRecoveryManagerTest, LivingRecordingsAreLeftAlone) {
  settings.storage().changeRecordingsFolder(recordings());
  recorders.startTakes = recorders.stopTakes = 20ms;
  recorders.bytesAtStop = CrashRecoveryManager::wavToM4AThreshold;  // and a conversion
  Program itself(*this, processLocks);
  TaskScope scope(executor);
  auto starting = scope.spawn(lifecycle.startRecording());
  TaskHandle<std::optional<RecordingStopResult>> stopping;
  int moments = 0;
  for (bool isStopping = false; !isStopping || !stopping.isDone(); ++moments) {
    if (!executor.runOne()) executor.advance(10ms);
    const QStringList before = files();
    EXPECT_TRUE(recover().empty());
    EXPECT_TRUE(runTask(otherExecutor, itself.manager.recoverOrphanedRecordings()).empty());
    for (const QString& name : before) EXPECT_TRUE(files().contains(name)) << qPrintable(name);
    ASSERT_EQ(persistence->fetchAllRecordingSessions().size(), recorders.paths.isEmpty() ? 0u : 1u) << moments;
    if (lifecycle.isRecording().get() && lifecycle.recordingDuration().get() > 1.2 && !isStopping) {
      isStopping = true;
      stopping = scope.spawn(lifecycle.stopRecording());
    }
  }
  EXPECT_GT(moments, 30);
  const auto result = runTask(executor, stopping.join());
  EXPECT_TRUE(recover().empty()) << "it awaits its row";
  EXPECT_TRUE(persistence->fetchTranscripts(-1).empty());
  // Killed now.
  processLocks.kill();
  const auto recovered = recover();
  ASSERT_EQ(recovered.size(), 1u);
  EXPECT_EQ(recovered[0].path, result->path);
}

TEST_F(CrashRecoveryManagerTest, OfTwoRecoveriesEachTakesWhatTheOtherDoesNot) {
  for (int i = 0; i < 4; ++i)
    orphan(QStringLiteral(".incomplete_%1.wav").arg(i), i == 1 ? CrashRecoveryManager::wavToM4AThreshold : 9000);
  Program first(*this, processLocks), second(*this, otherLocks);
  TaskScope scope(executor);
  auto one = scope.spawn(first.manager.recoverOrphanedRecordings());
  auto other = scope.spawn(second.manager.recoverOrphanedRecordings());
  executor.runUntil([&] { return one.isDone() && other.isDone(); });
  EXPECT_EQ(runTask(executor, one.join()).size() + runTask(executor, other.join()).size(), 4u);
  EXPECT_EQ(persistence->fetchTranscripts(-1).size(), 4u);
  EXPECT_TRUE(files().isEmpty());
}

// As where the process had lived on: for a day it can be found among what was thrown away.
TEST_F(CrashRecoveryManagerTest, WhatWasThrownAwayIsKeptAmongTheDiscarded) {
  const RecordingSessionPtr session = orphan(".incomplete_x.wav", 64000);
  const RecordingSessionPtr tooShort = orphan(".incomplete_y.wav", 100);
  for (const RecordingSessionPtr& each : {session, tooShort}) each->status = "discarded";
  persistence->save();
  EXPECT_TRUE(recover().empty()) << "nobody is told of it";
  EXPECT_FALSE(isRowThere(tooShort));
  EXPECT_TRUE(persistence->fetchTranscripts(-1).empty());
  const auto rows = persistence->fetchTranscriptsWithStatus(TranscriptStatus::discarded);
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0]->audioFilePath, target(session, "wav"));
  EXPECT_TRUE(QFile::exists(target(session, "wav")));
  EXPECT_EQ(rows[0]->date, clock.now()) << "its day begins now";
}

}  // namespace
}  // namespace quillmere
