#include "recording/RecordingFinisher.h"

#include "RecordingFixture.h"
#include "support/WithoutPrivileges.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

class RecordingFinisherTest : public RecordingFixture {
 protected:
  RecordingFinisherTest() { QDir().mkpath(recordings()); }

  RecordingFinisher::RawRecording raw(qint64 bytes, double duration = 2) {
    const QString path = inRecordings(QStringLiteral(".incomplete_%1.wav").arg(++count_));
    FakeAudioRecorderFactory::fill(path, bytes);
    return {path, clock.now().toSecsSinceEpoch(), duration, sessions.createSession({}, "Mic", 16000, 1, "WAV", path)};
  }
  RecordingFinisher::Finished finish(const RecordingFinisher::RawRecording& recording) {
    return runTask(executor, finisher.finish(recording));
  }
  static constexpr qint64 large = RecordingFinisher::wavToM4AThresholdBytes;

 private:
  int count_ = 0;
};

TEST_F(RecordingFinisherTest, TheSizeDecidesWhatBecomesOfTheFile) {
  for (const qint64 bytes : {qint64(5000), large - 1, large}) {
    const QString name = bytes == large ? m4a : wav;
    const auto recording = raw(bytes);
    EXPECT_EQ(finish(recording).path, inRecordings(name)) << bytes;
    EXPECT_EQ(recording.session->audioFilePath, inRecordings(name));
    EXPECT_EQ(files(), QStringList{name}) << bytes;
    QFile::remove(inRecordings(name));
  }
  // A local engine takes it as it is.
  auto local = raw(large);
  local.keepsLargeWav = true;
  EXPECT_EQ(finish(local).path, inRecordings(wav));
}

TEST_F(RecordingFinisherTest, AFileThatGrowsLateIsWaitedFor) {
  const auto recording = raw(100);
  const TimePoint before = executor.now();
  executor.startTimer(120ms, [&] { FakeAudioRecorderFactory::fill(recording.path, 6000); });
  EXPECT_EQ(finish(recording).path, inRecordings(wav));
  EXPECT_EQ(executor.now() - before, 150ms);
}

TEST_F(RecordingFinisherTest, TheLadderOfTheConversion) {
  struct Case {
    int failures;
    bool isExportable;
    std::chrono::milliseconds waited;
  };
  const Case cases[] = {{0, true, 0ms}, {1, true, 100ms}, {4, true, 1500ms}, {5, true, 1500ms}, {5, false, 1500ms}};
  for (const Case& one : cases) {
    SCOPED_TRACE(one.failures);
    encoder.failures = one.failures;
    encoder.canExport = one.isExportable;
    encoder.settings.clear();
    const auto recording = raw(large + 5000000);
    const TimePoint before = executor.now();
    const auto finished = finish(recording);
    const QString name = one.isExportable ? m4a : wav;
    EXPECT_EQ(finished.path, inRecordings(name));
    EXPECT_EQ(recording.session->audioFilePath, inRecordings(name));
    EXPECT_EQ(files(), QStringList{name});
    EXPECT_EQ(int(encoder.settings.size()), std::min(one.failures + 1, 5));
    EXPECT_EQ(executor.now() - before, one.waited);
    EXPECT_EQ(finished.conversionWarning.has_value(), !one.isExportable);
    QFile::remove(inRecordings(name));
  }
}

TEST_F(RecordingFinisherTest, AFileThatCantBeReadIsReportedAndKept) {
  samples.openError = MediaError::Kind::cannotOpen;
  const auto recording = raw(64044);
  EXPECT_EQ(finish(recording).path, inRecordings(wav));
  EXPECT_EQ(files(), QStringList{wav});
  EXPECT_EQ(reporting.reports.size(), 1u);
}

TEST_F(RecordingFinisherTest, AFileThatCantBeRenamedIsLeftForTheRecovery) {
  const auto recording = raw(64044);
  QFile::setPermissions(folder.path(), QFile::Permissions(0x7777));
  QFile::setPermissions(recordings(), QFile::Permissions(0x5555));
  QFile::setPermissions(recording.path, QFile::Permissions(0x6666));
  {
    const WithoutPrivileges scope;
    EXPECT_FALSE(finish(recording).path);
  }
  QFile::setPermissions(recordings(), QFile::Permissions(0x7777));
  EXPECT_TRUE(QFile::exists(recording.path));
  EXPECT_FALSE(recording.session->endTime);
  EXPECT_TRUE(processLocks.held().empty()) << "so that the recovery gets it";
}

// Two programs may have begun in the same second, and the clock may have been set back.
TEST_F(RecordingFinisherTest, NoOtherRecordingIsReplaced) {
  FakeAudioRecorderFactory::fill(inRecordings(wav), 1);
  FakeAudioRecorderFactory::fill(inRecordings("recording_1700000001.m4a"), 2);
  EXPECT_EQ(finish(raw(5000)).path, inRecordings("recording_1700000002.wav"));
  EXPECT_EQ(finish(raw(large)).path, inRecordings("recording_1700000003.m4a"));
  EXPECT_EQ(QFileInfo(inRecordings(wav)).size(), 1);
  EXPECT_EQ(files().size(), 4);
}

// --- the conversion for storage

class BackgroundConversionTest : public RecordingFinisherTest {
 protected:
  BackgroundConversionTest() {
    transcript = persistence->createTranscript(2, "Default", path);
    transcript->recordingSession = persistence->insertRecordingSession();
    persistence->save();
    FakeAudioRecorderFactory::fill(path, 64044);
  }
  void convert() { runTask(executor, finisher.convertInBackground(path, transcript)); }

  QString path = inRecordings(wav);
  TranscriptPtr transcript;
};

TEST_F(BackgroundConversionTest, TheRowsFollowTheFile) {
  for (const int failures : {0, 1}) {
    encoder.failures = failures;
    FakeAudioRecorderFactory::fill(path, 64044);
    convert();
    EXPECT_EQ(files(), QStringList{m4a});
    EXPECT_EQ(transcript->audioFilePath, inRecordings(m4a));
    EXPECT_EQ(transcript->recordingSession->audioFilePath, inRecordings(m4a));
    EXPECT_FALSE(persistence->hasChanges());
  }
}

TEST_F(BackgroundConversionTest, AFailureKeepsTheWavAndOtherFilesAreLeftAlone) {
  encoder.failures = 1;
  encoder.canExport = false;
  convert();
  EXPECT_EQ(files(), QStringList{wav});
  EXPECT_EQ(transcript->audioFilePath, path);
  path = inRecordings("talk.flac");
  convert();
  EXPECT_EQ(encoder.settings.size(), 1u);
}

TEST_F(BackgroundConversionTest, ARecordingDeletedMeanwhileDoesNotComeBack) {
  encoder.onOpen = [this] { QFile::remove(path); };
  convert();
  EXPECT_EQ(transcript->audioFilePath, path);
  EXPECT_TRUE(files().isEmpty()) << qPrintable(files().join(u' '));
}

}  // namespace
}  // namespace quillmere
