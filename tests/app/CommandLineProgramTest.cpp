#include "CommandLineProgram.h"

#include <signal.h>
#include <unistd.h>

#include <QFileInfo>
#include <QStorageInfo>
#include <fstream>

namespace quillmere {
namespace {

using Output = CommandLineProgram::Output;

const QByteArray scriptedLine = "Hello there, this is a scripted transcript.\n";

class CommandLineProgramTest : public ::testing::Test {
 protected:
  // Starts on ten minutes that no model is done with soon, and waits until the history has a row.
  void startLongRun(QProcess& process) {
    ScriptedWhisperModel::Options slow;
    slow.width = 384;
    slow.heads = 6;
    slow.encoderLayers = 24;
    program.installModel(slow);
    program.write("long.wav", CommandLineProgram::tone(600));
    program.start(process, {"transcribe", "long.wav"});
    for (int i = 0; i < 200 && process.state() == QProcess::Running && transcriptLines().isEmpty(); ++i)
      process.waitForFinished(50);
    ASSERT_FALSE(transcriptLines().isEmpty()) << process.readAllStandardError().constData();
  }
  QStringList transcriptLines() {
    return QString::fromUtf8(program.run({"history"}).out).split(u'\n', Qt::SkipEmptyParts);
  }
  void expectNoTrace() {
    EXPECT_EQ(transcriptLines(), QStringList());
    EXPECT_EQ(program.filesIn(program.recordings()), QStringList());
    EXPECT_TRUE(QDir(program.file("tmp")).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden));
  }

  CommandLineProgram program;
};

TEST_F(CommandLineProgramTest, TranscribesAFileAndKeepsItInTheHistory) {
  program.installModel();
  program.write("talk.wav", CommandLineProgram::tone(2));
  const Output text = program.expect(0, {"transcribe", "talk.wav"});
  EXPECT_EQ(text.out, scriptedLine);
  EXPECT_EQ(text.err, QByteArray()) << "nothing but the result belongs into a pipe";

  const Output json = program.run({"transcribe", "talk.wav", "--model", "scripted", "--language", "en", "--json"});
  EXPECT_EQ(json.json()["text"].toString().toUtf8(), scriptedLine.trimmed());
  EXPECT_NEAR(json.json()["durationSeconds"].toDouble(), 2.0, 0.05);

  const QString id = json.json()["transcriptId"].toString();
  const Output row = program.run({"history", "show", id.left(8), "--json"});
  EXPECT_EQ(row.json()["status"].toString(), "completed");
  const QString copy = row.json()["audioFile"].toString();
  EXPECT_EQ(program.run({"history", "search", "scrip", "--json"}).out.count('\n'), 2);
  EXPECT_EQ(program.run({"history", "search", "nothing like it"}).out, QByteArray());

  program.expect(2, {"history", "delete", id});
  EXPECT_TRUE(QFileInfo::exists(copy)) << "without --yes nothing is deleted";
  program.expect(0, {"history", "delete", id, "--yes"});
  EXPECT_FALSE(QFileInfo::exists(copy));
  EXPECT_EQ(transcriptLines().size(), 1);
}

TEST_F(CommandLineProgramTest, LeavesNoTraceWithoutHistory) {
  program.installModel();
  program.write("talk.wav", CommandLineProgram::tone(1));
  for (const char* input : {"talk.wav", "-"}) {
    const Output output = program.run({"transcribe", input, "--no-history"}, CommandLineProgram::tone(1));
    EXPECT_EQ(output.out, scriptedLine) << output.err.constData();
  }
  expectNoTrace();
}

// A recording of 37 seconds, eleven of which are speech.
TEST_F(CommandLineProgramTest, TheHistoryRemembersTheTrimmedFile) {
  program.write("long.wav", CommandLineProgram::speechAmongSilence());
  program.installModel();
  program.expect(0, {"transcribe", "long.wav"});
  const QJsonObject row = program.run({"history", "--json"}).json();
  const QString trimmed = row["trimmedAudioFile"].toString(), original = row["audioFile"].toString();
  EXPECT_EQ(trimmed, QString(original).replace(".wav", "_trimmed.wav"));
  EXPECT_EQ(row["durationSeconds"].toDouble(), 37);
  EXPECT_EQ(QFileInfo(original).size(), 44 + 37 * 32000) << "the recording itself is left alone";
  const double seconds = double(QFileInfo(trimmed).size() - 44) / 32000;
  EXPECT_GT(seconds, 6);
  EXPECT_LT(seconds, 10);
}

TEST_F(CommandLineProgramTest, RefusesUnusableInputWithOneSentenceAndLeavesNothingBehind) {
  program.installModel();
  program.write("empty.wav", QByteArray());
  program.write("text.wav", "This is no sound at all.\n");
  program.write("header.wav", CommandLineProgram::tone(0));
  program.write("cut.m4a", QByteArray("\0\0\0\x20"
                                      "ftypM4A \0\0\0\0M4A mp42isom\0\0\0\0",
                                      32) +
                               QByteArray(5000, 'x'));
  QDir(program.file(QString())).mkdir("folder");
  for (const char* input :
       {"missing.wav", "folder", "empty.wav", "text.wav", "header.wav", "cut.m4a", "/dev/null", "no\nsuch \"file\""}) {
    for (const QStringList& options : {QStringList(), QStringList{"--no-history"}}) {
      const Output output = program.expect(3, QStringList{"transcribe", input} + options);
      EXPECT_EQ(output.out, QByteArray()) << input;
      EXPECT_GE(output.err.count('\n'), 1) << input;
      EXPECT_LE(output.err.count('\n'), QString(input).contains(u'\n') ? 2 : 1) << output.err.constData();
      EXPECT_FALSE(output.wasKilled);
    }
  }
  expectNoTrace();
}

TEST_F(CommandLineProgramTest, TakesFilesOfAnyName) {
  program.installModel();
  for (const QByteArray name : {"with blanks and 'quotes' \".wav", "line\nbreak.wav", "caf\xe9 no utf8.wav",
                                "-dash.wav", "100%s.wav", "grüße 漢字.WAV"}) {
    const QByteArray path = program.file(QString()).toUtf8() + "/" + name;
    const QByteArray bytes = CommandLineProgram::tone(1);
    std::ofstream(path.constData(), std::ios::binary).write(bytes.constData(), bytes.size());
    for (const char* option : {"--json", "--no-history"}) {
      // Through a shell, which hands on bytes that are no UTF-8.
      QProcess shell;
      shell.setProcessEnvironment(program.environment());
      shell.setWorkingDirectory(program.file(QString()));
      QByteArray script = "printf '%b' '";
      for (const char c : name) script += "\\x" + QByteArray(1, c).toHex();
      script += "' > name.txt; exec \"" + CommandLineProgram::path().toUtf8() + "\" transcribe " + option +
                " -- \"$(cat name.txt)\"";
      shell.start("bash", {"-c", QString::fromUtf8(script)});
      const Output output = CommandLineProgram::finish(shell);
      EXPECT_EQ(output.code, 0) << name.constData() << ": " << output.err.constData();
      EXPECT_TRUE(output.out.contains("Hello there")) << name.constData();
    }
    ::unlink(path.constData());  // Qt can't remove a name that is no UTF-8
  }
}

TEST_F(CommandLineProgramTest, SeveralFilesGoOnBehindAFailure) {
  program.installModel();
  program.write("one.wav", CommandLineProgram::tone(1));
  const Output output = program.expect(3, {"transcribe", "one.wav", "missing.wav", "one.wav", "--json"});
  const auto lines = output.out.trimmed().split('\n');
  ASSERT_EQ(lines.size(), 3) << output.out.constData();
  EXPECT_TRUE(QJsonDocument::fromJson(lines[0]).object().contains("text"));
  EXPECT_EQ(QJsonDocument::fromJson(lines[1]).object()["error"].toObject()["code"].toInt(), 3);
  EXPECT_TRUE(QJsonDocument::fromJson(lines[2]).object().contains("text"));
}

TEST_F(CommandLineProgramTest, SaysWhichModelIsMissingBeforeItTouchesTheFile) {
  program.write("talk.wav", CommandLineProgram::tone(1));
  const Output none = program.expect(4, {"transcribe", "talk.wav"});
  EXPECT_TRUE(none.err.contains("quillmere models download base")) << none.err.constData();
  program.expect(4, {"transcribe", "talk.wav", "--model", "nonsense"});
  const Output cloud = program.expect(4, {"transcribe", "talk.wav", "--mode", "Default"});
  EXPECT_TRUE(cloud.err.contains("Quillmere Cloud")) << cloud.err.constData();
  program.expect(2, {"transcribe", "talk.wav", "--language", "klingon"});
  program.expect(2, {"transcribe", "talk.wav", "--mode", "no such mode"});
  expectNoTrace();
}

TEST_F(CommandLineProgramTest, InterruptLeavesNothingBehind) {
  QProcess process;
  startLongRun(process);
  ::kill(pid_t(process.processId()), SIGINT);
  const Output output = CommandLineProgram::finish(process);
  EXPECT_EQ(output.code, 130) << output.err.constData();
  EXPECT_EQ(output.out, QByteArray());
  expectNoTrace();
}

TEST_F(CommandLineProgramTest, AKilledRunLeavesARowThatSaysSoAndCanBeRetried) {
  QProcess process;
  startLongRun(process);
  process.kill();
  process.waitForFinished();
  const auto rows = [this] { return program.expect(0, {"history", "--json"}); };
  const QJsonObject killed = rows().json();
  const QString id = killed["id"].toString();
  EXPECT_EQ(killed["status"].toString(), "failed");
  EXPECT_TRUE(QFileInfo::exists(killed["audioFile"].toString()));

  // What was said is not lost: the kept audio can be transcribed once more.
  program.expect(0, {"models", "delete", "scripted"});
  ScriptedWhisperModel::Options fast;
  fast.text = "Second attempt.";
  program.installModel(fast);
  const Output retried = program.expect(0, {"history", "retry", id});
  EXPECT_TRUE(retried.out.contains("Second attempt")) << retried.out.constData();
  EXPECT_EQ(rows().json()["status"].toString(), "completed");
  EXPECT_EQ(rows().out.count('\n'), 1);

  // A text that is there is not put at stake: another try is another row, and the audio stays as long as one needs it.
  program.expect(0, {"history", "retry", id});
  EXPECT_EQ(rows().out.count('\n'), 2);
  program.expect(0, {"history", "delete", id, "--yes"});
  EXPECT_NE(rows().json()["id"].toString(), id);
  EXPECT_TRUE(QFileInfo::exists(rows().json()["audioFile"].toString()));
  EXPECT_EQ(program.run({"history", "--discarded"}).out, QByteArray());
}

TEST_F(CommandLineProgramTest, TheSettingsPageOfTheDocumentationIsTheProgramsOwn) {
  EXPECT_EQ(program.run({"settings", "describe"}).out,
            readFile(qEnvironmentVariable("QUILLMERE_SOURCE_DIR") + "/docs/settings.md"))
      << "write it anew: quillmere settings describe > docs/settings.md";
}

TEST_F(CommandLineProgramTest, TheManualPageKnowsEveryCommandAndOption) {
  const QByteArray page = readFile(qEnvironmentVariable("QUILLMERE_SOURCE_DIR") + "/docs/quillmere.1");
  const QString manual = QString::fromUtf8(page).remove(u'\\');
  const QString fish = QString::fromUtf8(program.run({"completion", "fish"}).out);
  int options = 0;
  for (const QString& line : fish.split(u'\n')) {
    const qsizetype at = line.indexOf(" -l ");
    if (at < 0) continue;
    const QString option = QStringLiteral("--") + line.mid(at + 4).section(u' ', 0, 0);
    EXPECT_TRUE(manual.contains(option)) << option.toStdString();
    ++options;
  }
  EXPECT_GT(options, 20);
}

TEST_F(CommandLineProgramTest, SettingsModesAndVocabularyAreKept) {
  program.expect(0, {"settings", "set", "enableVAD", "false"});
  EXPECT_EQ(program.run({"settings", "get", "enableVAD"}).out, QByteArray("false\n"));
  program.expect(2, {"settings", "set", "audioSampleRate", "7999"});
  program.expect(2, {"settings", "set", "nonsense", "1"});
  program.expect(0, {"settings", "reset", "enableVAD"});
  EXPECT_EQ(program.run({"settings", "get", "enableVAD"}).out, QByteArray("true\n"));

  const auto mode = [this](const char* name) { return program.run({"modes", "show", name, "--json"}).json(); };
  program.expect(0, {"modes", "add", "Letters", "--language", "pt_br", "--model", "base"});
  program.expect(1, {"modes", "add", "letters"});  // the name is taken, in any case
  program.expect(0, {"modes", "edit", "LETTERS", "--name", "Briefe"});
  EXPECT_EQ(mode("Briefe")["language"].toString(), "pt-BR");
  program.expect(0, {"modes", "use", "Briefe"});
  EXPECT_TRUE(mode("Briefe")["isSelected"].toBool());
  program.expect(0, {"modes", "delete", "Briefe"});
  EXPECT_TRUE(mode("Default")["isSelected"].toBool()) << "the first of the others takes its place";
  program.expect(1, {"modes", "delete", "Default"});  // the last one stays

  program.expect(0, {"vocabulary", "add", " quill mere ", "Quillmere"});
  program.expect(1, {"vocabulary", "add", "QUILL MERE"});
  EXPECT_EQ(program.run({"vocabulary", "--json"}).json()["word"].toString(), "quill mere");
  program.expect(0, {"vocabulary", "remove", "Quill Mere"});
  EXPECT_EQ(program.run({"vocabulary"}).out, QByteArray());
}

TEST_F(CommandLineProgramTest, AForeignOrDamagedStoreIsReportedAndLeftAsItIs) {
  const QString path = "data/quillmere/Quillmere.sqlite";
  program.run({"history"});
  for (const QByteArray& content : {QByteArray("this is no database, but somebody's notes\n").repeated(100),
                                    QByteArray("SQLite format 3\0", 16) + QByteArray(4080, 'x')}) {
    for (const char* tail : {"", "-wal", "-shm"}) QFile::remove(program.file(path) + tail);
    program.write(path, content);
    for (const QStringList& command : {QStringList{"history"}, QStringList{"vocabulary", "add", "word"}}) {
      const Output output = program.expect(5, command);
      EXPECT_TRUE(output.err.startsWith("Core Data failed to load: ")) << output.err.constData();
      EXPECT_EQ(output.err.count('\n'), 1) << output.err.constData();
    }
    EXPECT_EQ(readFile(program.file(path)), content);
  }
  program.expect(0, {"models", "list"});  // what needs no store goes on
}

TEST_F(CommandLineProgramTest, AFolderServesAsAModelHub) {
  program.write("hub/ggml-tiny.bin", "not the model at all");
  program.environment().insert("QUILLMERE_MODEL_HUB", program.file("hub"));
  const Output wrong = program.expect(6, {"models", "download", "tiny"});
  EXPECT_EQ(wrong.err.count('\n'), 1) << wrong.err.constData();
  EXPECT_EQ(program.filesIn(program.file("data/quillmere/models")), QStringList());
  program.expect(6, {"models", "download", "base"});  // the hub doesn't have it
  program.expect(2, {"models", "download", "nonsense"});
}

TEST_F(CommandLineProgramTest, AFullDiskHasItsOwnExitCode) {
  QDir(program.file(QString())).mkdir("hub");
  QFile sparse(program.file("hub/ggml-large-v3.bin"));
  ASSERT_TRUE(sparse.open(QIODevice::WriteOnly));
  ASSERT_TRUE(sparse.resize(QStorageInfo(sparse.fileName()).bytesAvailable() + (qint64{1} << 30)));
  program.environment().insert("QUILLMERE_MODEL_HUB", program.file("hub"));
  const Output full = program.expect(7, {"models", "download", "large-v3"});
  EXPECT_EQ(full.err.count('\n'), 1) << full.err.constData();
}

}  // namespace
}  // namespace quillmere
