#include <QFileInfo>
#include <QStandardPaths>

#include "CommandLineProgram.h"
#include "support/WordErrorRate.h"

namespace quillmere {
namespace {

// The whole road on real speech: the built program, the starter model, eleven seconds of a speech.
class RealSpeechTest : public ::testing::Test {
 protected:
  void SetUp() override {
    clip = qEnvironmentVariable("QUILLMERE_SOURCE_DIR") + "/third_party/src/whisper.cpp/samples/jfk.mp3";
    ASSERT_TRUE(QFileInfo::exists(clip)) << "third_party/fetch.sh brings the clip";
    folder = qEnvironmentVariable("QUILLMERE_STARTER_FOLDER");
    if (!folder.isEmpty()) return;
    GTEST_SKIP() << "QUILLMERE_STARTER_FOLDER does not name the starter model's folder; scripts/test.sh sets it";
  }
  QString makeWithFfmpeg(const QString& name, const QStringList& options) {
    const QString path = program.file(name);
    QStringList arguments{"-v", "error", "-i", clip};
    EXPECT_EQ(QProcess::execute("ffmpeg", arguments + options + QStringList{path}), 0);
    return path;
  }
  static double errorRate(const QByteArray& text) {
    return wordErrorRate(wordsOf(QString::fromLatin1(clipWords)), wordsOf(QString::fromUtf8(text)));
  }

  QString clip, folder;
  CommandLineProgram program;
};

TEST_F(RealSpeechTest, TheImportedStarterModelUnderstandsSpeechInAnyContainer) {
  const auto imported = program.run({"models", "import", folder});
  ASSERT_EQ(imported.code, 0) << imported.err.constData();
  EXPECT_EQ(imported.out, QByteArray("tiny.en\n")) << "it is the catalogue's own model, to the last bit";

  const QString film = makeWithFfmpeg(
      "film.mp4", {"-f", "lavfi", "-i", "color=c=blue:s=64x64:r=5:d=11", "-map", "0:a", "-map", "1:v", "-shortest"});
  const QString wide = makeWithFfmpeg("wide.wav", {"-ar", "192000", "-ac", "6"});
  const QString opus = makeWithFfmpeg("talk.opus", {"-c:a", "libopus"});
  // Silence around it is cut, the words are not.
  program.write("long.wav", CommandLineProgram::speechAmongSilence());
  for (const QString& file : {clip, film, wide, opus, program.file("long.wav")}) {
    const auto output = program.run({"transcribe", file});
    EXPECT_EQ(output.code, 0) << file.toStdString() << ": " << output.err.constData();
    EXPECT_LE(errorRate(output.out), 0.1) << file.toStdString() << ": " << output.out.constData();
  }
  const auto piped = program.run({"transcribe", "-", "--no-history", "--json"}, readFile(opus));
  EXPECT_LE(errorRate(piped.json()["text"].toString().toUtf8()), 0.1) << piped.out.constData();
  EXPECT_NEAR(piped.json()["durationSeconds"].toDouble(), 11.0, 0.5);
  EXPECT_EQ(program.run({"history", "search", "your country", "--json"}).out.count('\n'), 5);
}

}  // namespace
}  // namespace quillmere
