#include <QFileInfo>

#include "CommandLineProgram.h"
#include "support/SpeechClip.h"
#include "support/WordErrorRate.h"

namespace quillmere {
namespace {

// The built program on a recording of 37 seconds, eleven of which are speech.
class SilenceTrimmingTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const QByteArray clip = SpeechClip::pcm();
    ASSERT_FALSE(clip.isEmpty()) << "third_party/fetch.sh brings the clip";
    const auto samples = SpeechClip::asFloats(SpeechClip::silence(12) + clip + SpeechClip::silence(14));
    const auto sampleAt = [&](qint64 frame, int) { return double(samples[size_t(frame)]); };
    program.write("long.wav", SampleMedia::wav(16000, 1, qint64(samples.size()), sampleAt));
  }
  QJsonObject row() { return program.run({"history", "--json"}).json(); }

  CommandLineProgram program;
};

TEST_F(SilenceTrimmingTest, TheHistoryRemembersTheTrimmedFile) {
  program.installModel();
  const auto done = program.run({"transcribe", "long.wav"});
  ASSERT_EQ(done.code, 0) << done.err.constData();
  const QString trimmed = row()["trimmedAudioFile"].toString();
  const QString original = row()["audioFile"].toString();
  EXPECT_EQ(trimmed, QString(original).replace(".wav", "_trimmed.wav"));
  EXPECT_EQ(row()["durationSeconds"].toDouble(), 37);
  EXPECT_EQ(QFileInfo(original).size(), 44 + 37 * 32000) << "the recording itself is left alone";
  const double seconds = double(QFileInfo(trimmed).size() - 44) / 32000;
  EXPECT_GT(seconds, 6);
  EXPECT_LT(seconds, 10);
}

TEST_F(SilenceTrimmingTest, SwitchedOffOrShortLeavesTheRecordingAlone) {
  program.installModel();
  program.write("short.wav", CommandLineProgram::tone(3));
  ASSERT_EQ(program.run({"transcribe", "short.wav"}).code, 0);
  ASSERT_EQ(program.run({"settings", "set", "enableVAD", "false"}).code, 0);
  const auto done = program.run({"transcribe", "long.wav"});
  ASSERT_EQ(done.code, 0) << done.err.constData();
  EXPECT_EQ(row()["durationSeconds"].toDouble(), 37);
  EXPECT_FALSE(row().contains("trimmedAudioFile"));
  EXPECT_EQ(program.filesIn(program.recordings()).size(), 2);
}

TEST_F(SilenceTrimmingTest, TheWordsAreStillThere) {
  const QString folder = qEnvironmentVariable("QUILLMERE_STARTER_FOLDER");
  if (folder.isEmpty()) {
    GTEST_SKIP() << "QUILLMERE_STARTER_FOLDER does not name the starter model's folder; scripts/test.sh sets it";
  }
  ASSERT_EQ(program.run({"models", "import", folder}).code, 0);
  const auto done = program.run({"transcribe", "long.wav"});
  ASSERT_EQ(done.code, 0) << done.err.constData();
  EXPECT_TRUE(row().contains("trimmedAudioFile"));
  EXPECT_LE(wordErrorRate(wordsOf(QString::fromLatin1(clipWords)), wordsOf(QString::fromUtf8(done.out))), 0.1)
      << done.out.constData();
}

}  // namespace
}  // namespace quillmere
