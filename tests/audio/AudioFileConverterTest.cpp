#include "audio/AudioFileConverter.h"

#include <QTemporaryDir>

#include "base/async/TaskScope.h"
#include "support/FakeMediaEncoder.h"
#include "support/FakeMediaReader.h"
#include "support/Files.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

using Status = MediaExportSession::Status;

const AnyError exportFailed = AudioError{AudioError::Kind::exportFailed, {}};

class AudioFileConverterTest : public ::testing::Test {
 protected:
  QTemporaryDir folder;
  const QString from = folder.filePath(QStringLiteral("talk 1.mov"));
  const QString to = folder.filePath(QStringLiteral("talk 1.m4a"));
  FakeMediaReaderFactory readers;
  FakeMediaEncoder encoder;
  ManualExecutor executor;
  WorkerPool pool{1, QStringLiteral("audio.conversion")};
  AudioFileConverter converter{readers, encoder, pool, Logging()};

  void SetUp() override {
    readers.files[from].frames = 96000;
    readers.files[from].duration = 2;
    writeFile(to, "old");
  }
  QByteArray target() const { return readFile(to); }
  Result<AudioFileFormat, AnyError> convert() { return runTask(executor, converter.convertAudioToAAC(from, to)); }
  Result<AudioFileFormat, AnyError> exportFile() { return runTask(executor, converter.exportToM4A(from, to)); }
  MediaError someError() const {
    return {MediaError::Kind::writeFailed, -28, QStringLiteral("No space left on device")};
  }
};

TEST_F(AudioFileConverterTest, ATrackWithoutDescriptionTakesTheFilesFormat) {
  readers.files[from].track = MediaReader::TrackDescription{0, 2};
  const auto format = convert();
  ASSERT_TRUE(format);
  EXPECT_EQ(*format, (AudioFileFormat{48000, 2, 128000}));
  EXPECT_EQ(encoder.framesWritten, 96000);
  EXPECT_EQ(readers.opened.front().second, MediaReaderFactory::Output::signed16Interleaved);
  EXPECT_EQ(target(), "whole");

  readers.files[from].format.sampleRate = 0;  // neither knows
  const auto failed = convert();
  ASSERT_FALSE(failed);
  EXPECT_EQ(failed.error(), exportFailed);
}

TEST_F(AudioFileConverterTest, AFailureLeavesNoTarget) {
  readers.files[from].readErrorAt = 5000;
  EXPECT_EQ(convert().error(), exportFailed);
  EXPECT_EQ(target(), "(missing)");
  readers.files[from].readErrorAt.reset();
  writeFile(to, "old");
  encoder.finishError = someError();
  EXPECT_EQ(convert().error(), exportFailed);
  EXPECT_EQ(target(), "(missing)");
}

TEST_F(AudioFileConverterTest, ASourceIsNeverItsOwnTarget) {
  readers.files[to] = readers.files[from];
  const QString sameOtherwise = folder.filePath(QStringLiteral("./talk 1.m4a"));
  EXPECT_FALSE(runTask(executor, converter.convertAudioToAAC(to, sameOtherwise)));
  EXPECT_FALSE(runTask(executor, converter.exportToM4A(to, sameOtherwise)));
  EXPECT_EQ(target(), "old");
}

TEST_F(AudioFileConverterTest, ACancelLeavesNoTarget) {
  TaskScope scope(executor);
  TaskHandle<Result<AudioFileFormat, AnyError>> handle;
  readers.files[from].frames = qint64(1) << 40;
  readers.files[from].onRead = [&, reads = 0]() mutable {
    if (++reads == 3) executor.post([&] { handle.cancel(); });
  };
  handle = scope.spawn(converter.convertAudioToAAC(from, to));
  EXPECT_THROW(static_cast<void>(runTask(executor, handle.join())), Cancelled);
  EXPECT_EQ(target(), "(missing)");
}

TEST_F(AudioFileConverterTest, ExportByStatus) {
  const AnyError diskFull = PlatformError{QStringLiteral("media"), -28, QStringLiteral("No space left on device")};
  struct Case {
    Status status;
    bool writes;
    std::optional<MediaError> error;
    std::optional<AnyError> result;
  };
  const Case cases[] = {{Status::completed, true, {}, {}},
                        {Status::completed, false, {}, exportFailed},
                        {Status::failed, true, someError(), diskFull},
                        {Status::cancelled, true, {}, exportFailed}};
  for (const Case& c : cases) {
    encoder.exportStatus = c.status;
    encoder.exportError = c.error;
    encoder.writesExport = c.writes;
    writeFile(to, "old");
    const auto result = exportFile();
    EXPECT_EQ(result.hasValue(), !c.result);
    if (result) {
      EXPECT_EQ(*result, (AudioFileFormat{48000, 2, 128000}));
    } else {
      EXPECT_EQ(result.error(), *c.result);
    }
    EXPECT_EQ(target(), c.result ? "(missing)" : "exported") << int(c.status);
  }
}

}  // namespace
}  // namespace quillmere
