#include "recording/CrashRecoveryManager.h"

#include "RecordingFixture.h"
#include "support/WithoutPrivileges.h"

namespace quillmere {
namespace {

class CrashRecoveryManagerTest : public RecordingFixture {
 protected:
  CrashRecoveryManagerTest() { QDir().mkpath(recordings()); }

  // A row without an end, with a raw file of that size behind it (-1: no file).
  RecordingSessionPtr orphan(const std::optional<QString>& name, qint64 bytes) {
    const RecordingSessionPtr session = persistence->insertRecordingSession();
    session->startTime = clock.now().addSecs(-60 + qint64(++orphans_));
    if (name) session->audioFilePath = inRecordings(*name);
    persistence->save();
    if (name && bytes >= 0) FakeAudioRecorderFactory::fill(inRecordings(*name), bytes);
    return session;
  }
  std::vector<RecoveredRecording> recover() {
    CrashRecoveryManager::Dependencies use{*persistence, converter, media, clock, folders()};
    use.isFileInUse = [this](const QString& path) {
      EXPECT_TRUE(mayBeUnsaved || !persistence->hasChanges()) << "the row of a moved file is saved before the next one";
      return path == inUse;
    };
    use.reporting = &reporting;
    CrashRecoveryManager manager(use, logging);
    auto recovered = runTask(executor, manager.recoverOrphanedRecordings());
    EXPECT_FALSE(persistence->hasChanges());
    return recovered;
  }
  QString target(const RecordingSessionPtr& session, const char* extension) const {
    return documents() + QStringLiteral("/Recordings/") + session->id->toString(QUuid::WithoutBraces) + u'.' +
           QLatin1String(extension);
  }
  bool isRowThere(const RecordingSessionPtr& session) {
    return persistence->fetchRecordingSession(*session->id) != nullptr;
  }

  QString inUse;
  bool mayBeUnsaved = true;

 private:
  int orphans_ = 0;
};

TEST_F(CrashRecoveryManagerTest, WhatCantBeSavedGoesWithItsRow) {
  struct Case {
    std::optional<QString> name;
    qint64 bytes;
    const char* crumb;
  };
  const Case cases[] = {
      {std::nullopt, -1, "Deleted orphaned session without audio path"},
      {QStringLiteral("old.CAF"), 9000, "Deleted orphaned session with deprecated CAF format"},
      {QStringLiteral("gone.caf"), -1, "Deleted orphaned session with deprecated CAF format"},
      {QStringLiteral("talk.mp3"), 9000, nullptr},
      {QStringLiteral(".incomplete_a.wav"), 100, "Deleted orphaned session with unrecoverable audio"},
      {QStringLiteral(".incomplete_b.wav"), -1, "Deleted orphaned session with unrecoverable audio"},
  };
  for (const Case& one : cases) {
    const RecordingSessionPtr session = orphan(one.name, one.bytes);
    reporting.breadcrumbs.clear();
    EXPECT_TRUE(recover().empty());
    EXPECT_FALSE(isRowThere(session));
    EXPECT_TRUE(kept().isEmpty());
    ASSERT_EQ(reporting.breadcrumbs.size(), one.crumb ? 1u : 0u);
    if (one.crumb) {
      EXPECT_EQ(reporting.breadcrumbs[0].message, QString::fromLatin1(one.crumb));
    }
  }
  EXPECT_TRUE(persistence->fetchTranscripts(-1).empty());
  log->clear();
  recover();
  EXPECT_EQ(log->lines(), QStringList{QStringLiteral("No orphaned recordings found")});

  media.openError = MediaError::Kind::cannotOpen;
  const RecordingSessionPtr damaged = orphan(QStringLiteral(".incomplete_c.wav"), 50000);
  recover();
  EXPECT_FALSE(isRowThere(damaged));
}

TEST_F(CrashRecoveryManagerTest, SavesTheSmallestAndTheLargest) {
  struct Case {
    qint64 bytes;
    const char* format;
  };
  for (const Case& one : {Case{101, "wav"}, Case{26214399, "wav"}, Case{26214400, "m4a"}}) {
    const RecordingSessionPtr session = orphan(QStringLiteral(".incomplete_x.wav"), one.bytes);
    const auto recovered = recover();
    ASSERT_EQ(recovered.size(), 1u) << one.bytes;
    EXPECT_EQ(recovered[0].session, session);
    EXPECT_EQ(recovered[0].path, target(session, one.format));
    EXPECT_TRUE(QFile::exists(recovered[0].path));
    EXPECT_TRUE(kept().isEmpty());
    EXPECT_EQ(session->audioFilePath, recovered[0].path);
    EXPECT_EQ(session->endTime, clock.now());
    EXPECT_EQ(session->durationInSeconds, 1.0);
    EXPECT_EQ(session->sampleRate, 16000.0);
    EXPECT_EQ(session->channelCount, qint16(1));
    EXPECT_EQ(session->audioFormat, QString::fromLatin1(one.format));

    const TranscriptPtr transcript = persistence->fetchTranscriptOfSession(session);
    ASSERT_TRUE(transcript) << "the history shows it";
    EXPECT_EQ(transcript->status, QStringLiteral("failed"));
    EXPECT_EQ(transcript->audioFilePath, recovered[0].path);
    EXPECT_EQ(transcript->date, session->startTime);
    EXPECT_EQ(transcript->duration, 1.0);
    EXPECT_TRUE(transcript->failedReason->startsWith(QStringLiteral("Quillmere was ended while it recorded.")));
  }
  EXPECT_TRUE(recover().empty()) << "once";
  EXPECT_EQ(persistence->fetchTranscripts(-1).size(), 3u);
}

TEST_F(CrashRecoveryManagerTest, AFailedConversionIsTriedAgainAndHoldsNobodyUp) {
  orphan(QStringLiteral(".incomplete_0.wav"), 5000);
  const RecordingSessionPtr large = orphan(QStringLiteral(".incomplete_1.wav"), 26214400);
  const RecordingSessionPtr small = orphan(QStringLiteral(".incomplete_2.wav"), 5000);
  encoder.failures = 1;
  mayBeUnsaved = false;
  auto recovered = recover();
  ASSERT_EQ(recovered.size(), 2u);
  EXPECT_EQ(recovered[1].session, small);
  EXPECT_FALSE(large->endTime);
  EXPECT_EQ(kept(), QStringList{QStringLiteral(".incomplete_1.wav")});
  EXPECT_FALSE(QFile::exists(target(large, "m4a")));
  EXPECT_EQ(breadcrumbs(QStringLiteral("Recovery failed")), 1);
  EXPECT_EQ(breadcrumbs(QStringLiteral("Recovery conversion failed")), 1);
  EXPECT_EQ(persistence->fetchTranscripts(-1).size(), 2u);
  EXPECT_TRUE(
      log->contains(QStringLiteral("Orphaned recording recovery complete: 2 recovered, 1 failed/deleted in 0ms")));
  recovered = recover();
  ASSERT_EQ(recovered.size(), 1u);
  EXPECT_EQ(recovered[0].path, target(large, "m4a"));
}

TEST_F(CrashRecoveryManagerTest, FoldersThatCantBeWritten) {
  QFile inTheWay(documents());
  ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));
  const RecordingSessionPtr session = orphan(QStringLiteral(".incomplete_1.wav"), 5000);
  EXPECT_TRUE(recover().empty());
  EXPECT_TRUE(isRowThere(session));
  EXPECT_EQ(kept(), QStringList{QStringLiteral(".incomplete_1.wav")});

  // There is a place now, but the old one lets nothing go.
  inTheWay.remove();
  ASSERT_TRUE(QDir().mkpath(documents() + QStringLiteral("/Recordings")));
  for (const QString& folder : {home.path(), documents(), documents() + QStringLiteral("/Recordings")})
    QFile::setPermissions(folder, QFile::Permissions(0x7777));
  QFile::setPermissions(recordings(), QFile::Permissions(0x5555));
  {
    const WithoutPrivileges scope;
    ASSERT_EQ(recover().size(), 1u);
  }
  EXPECT_EQ(QFileInfo(target(session, "wav")).size(), 5000);
  QFile::setPermissions(recordings(), QFile::Permissions(0x7777));
}

TEST_F(CrashRecoveryManagerTest, WhatIsStillRecordedStaysAndWhatItsUserThrewAwayGoes) {
  const RecordingSessionPtr live = orphan(QStringLiteral(".incomplete_live.wav"), 60);
  const RecordingSessionPtr unwanted = orphan(QStringLiteral(".incomplete_1.wav"), 50000);
  inUse = inRecordings(QStringLiteral(".incomplete_live.wav"));
  sessions->discardSession(unwanted);
  EXPECT_TRUE(recover().empty());
  EXPECT_TRUE(isRowThere(live) && !live->endTime);
  EXPECT_FALSE(isRowThere(unwanted));
  EXPECT_EQ(kept(), QStringList{QStringLiteral(".incomplete_live.wav")});
  EXPECT_TRUE(persistence->fetchTranscripts(-1).empty());
}

TEST_F(CrashRecoveryManagerTest, AFinishedRecordingWithoutTranscriptComesBackOnlyUntilItIsSettled) {
  sessions->setTracksUntilSettled(true);
  const auto finished = [&](const QString& name) {
    FakeAudioRecorderFactory::fill(inRecordings(name), 9000);
    const auto session = sessions->createSession({}, QStringLiteral("Mic"), 16000, 1, QStringLiteral("WAV"));
    EXPECT_TRUE(sessions->completeSession(session, inRecordings(name), 2.5));
    return session;
  };
  const auto lost = finished(QStringLiteral("recording_1.wav"));
  sessions->settleSession(finished(QStringLiteral("recording_2.wav")));
  sessions->discardSession(finished(QStringLiteral("recording_5.wav")));
  const auto transcribed = finished(QStringLiteral("recording_3.wav"));
  persistence->createTranscript(2.5, {}, transcribed->audioFilePath)->recordingSession = transcribed;
  finished(QStringLiteral("recording_4.wav"));
  QFile::remove(inRecordings(QStringLiteral("recording_4.wav")));

  const auto recovered = recover();
  ASSERT_EQ(recovered.size(), 1u);
  EXPECT_EQ(recovered[0].session, lost);
  EXPECT_EQ(persistence->fetchTranscriptOfSession(lost)->duration, 2.5);
  EXPECT_EQ(persistence->fetchTranscripts(-1).size(), 2u);
  EXPECT_TRUE(recover().empty());
}

}  // namespace
}  // namespace quillmere
