#include "CommandLineProgram.h"

#include <signal.h>
#include <unistd.h>

#include <QFileInfo>

namespace quillmere {
namespace {

using Output = CommandLineProgram::Output;

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
  const Output text = program.run({"transcribe", "talk.wav"});
  EXPECT_EQ(text.code, 0) << text.err.constData();
  EXPECT_EQ(text.out, QByteArray("Hello there, this is a scripted transcript.\n"));
  EXPECT_EQ(text.err, QByteArray()) << "nothing but the result belongs into a pipe";

  const Output json = program.run({"transcribe", "talk.wav", "--model", "scripted", "--language", "en", "--json"});
  EXPECT_EQ(json.json()["text"].toString(), "Hello there, this is a scripted transcript.");
  EXPECT_NEAR(json.json()["durationSeconds"].toDouble(), 2.0, 0.05);
  EXPECT_EQ(json.json()["provider"].toString(), "Local Whisper");

  const QString id = json.json()["transcriptId"].toString();
  const Output row = program.run({"history", "show", id.left(8), "--json"});
  EXPECT_EQ(row.json()["status"].toString(), "completed");
  const QString copy = row.json()["audioFile"].toString();
  EXPECT_TRUE(QFileInfo::exists(copy)) << copy.toStdString();
  EXPECT_EQ(transcriptLines().size(), 2);
  EXPECT_EQ(program.run({"history", "search", "scrip", "--json"}).out.count('\n'), 2);
  EXPECT_EQ(program.run({"history", "search", "nothing like it"}).out, QByteArray());

  EXPECT_EQ(program.run({"history", "delete", id}).code, 2) << "without --yes nothing is deleted";
  EXPECT_TRUE(QFileInfo::exists(copy));
  EXPECT_EQ(program.run({"history", "delete", id, "--yes"}).code, 0);
  EXPECT_FALSE(QFileInfo::exists(copy));
  EXPECT_EQ(transcriptLines().size(), 1);
}

TEST_F(CommandLineProgramTest, LeavesNoTraceWithoutHistory) {
  program.installModel();
  program.write("talk.wav", CommandLineProgram::tone(1));
  EXPECT_EQ(program.run({"transcribe", "talk.wav", "--no-history"}).out,
            QByteArray("Hello there, this is a scripted transcript.\n"));
  const Output piped = program.run({"transcribe", "-", "--no-history"}, CommandLineProgram::tone(1));
  EXPECT_EQ(piped.out, QByteArray("Hello there, this is a scripted transcript.\n")) << piped.err.constData();
  expectNoTrace();
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
  program.write("secret.wav", CommandLineProgram::tone(1));
  QDir(program.file(QString())).mkdir("folder");
  const QStringList inputs{"missing.wav", "folder",  "empty.wav", "text.wav",
                           "header.wav",  "cut.m4a", "/dev/null", "no\nsuch \"file\""};
  for (const QString& input : inputs) {
    for (const bool isWithHistory : {true, false}) {
      QStringList arguments{"transcribe", input};
      if (!isWithHistory) arguments << "--no-history";
      const Output output = program.run(arguments);
      EXPECT_EQ(output.code, 3) << input.toStdString() << ": " << output.err.constData();
      EXPECT_EQ(output.out, QByteArray()) << input.toStdString();
      EXPECT_GE(output.err.count('\n'), 1) << input.toStdString();
      EXPECT_LE(output.err.count('\n'), input.contains(u'\n') ? 2 : 1) << output.err.constData();
      EXPECT_FALSE(output.wasKilled);
    }
  }
  expectNoTrace();
}

TEST_F(CommandLineProgramTest, TakesFilesOfAnyName) {
  program.installModel();
  const QByteArray names[] = {"with blanks and 'quotes' \".wav",
                              "line\nbreak.wav",
                              "caf\xe9 no utf8.wav",
                              "-dash.wav",
                              "100%s.wav",
                              "grüße 漢字.WAV"};
  for (const QByteArray& name : names) {
    const QByteArray path = program.file(QString()).toUtf8() + "/" + name;
    FILE* out = fopen(path.constData(), "wb");
    ASSERT_NE(out, nullptr) << name.constData();
    const QByteArray bytes = CommandLineProgram::tone(1);
    fwrite(bytes.constData(), 1, size_t(bytes.size()), out);
    fclose(out);
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
  const Output output = program.run({"transcribe", "one.wav", "missing.wav", "one.wav", "--json"});
  EXPECT_EQ(output.code, 3);
  const auto lines = output.out.trimmed().split('\n');
  ASSERT_EQ(lines.size(), 3) << output.out.constData();
  EXPECT_TRUE(QJsonDocument::fromJson(lines[0]).object().contains("text"));
  EXPECT_EQ(QJsonDocument::fromJson(lines[1]).object()["error"].toObject()["code"].toInt(), 3);
  EXPECT_TRUE(QJsonDocument::fromJson(lines[2]).object().contains("text"));
}

TEST_F(CommandLineProgramTest, SaysWhichModelIsMissingBeforeItTouchesTheFile) {
  program.write("talk.wav", CommandLineProgram::tone(1));
  const Output none = program.run({"transcribe", "talk.wav"});
  EXPECT_EQ(none.code, 4);
  EXPECT_TRUE(none.err.contains("quillmere models download base")) << none.err.constData();
  const Output unknown = program.run({"transcribe", "talk.wav", "--model", "nonsense"});
  EXPECT_EQ(unknown.code, 4);
  const Output cloud = program.run({"transcribe", "talk.wav", "--mode", "Default"});
  EXPECT_EQ(cloud.code, 4) << cloud.err.constData();
  EXPECT_TRUE(cloud.err.contains("Quillmere Cloud")) << cloud.err.constData();
  EXPECT_EQ(program.run({"transcribe", "talk.wav", "--language", "klingon"}).code, 2);
  EXPECT_EQ(program.run({"transcribe", "talk.wav", "--mode", "no such mode"}).code, 2);
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
  const Output rows = program.run({"history", "--json"});
  EXPECT_EQ(rows.code, 0) << rows.err.constData();
  EXPECT_EQ(rows.json()["status"].toString(), "failed");
  EXPECT_TRUE(QFileInfo::exists(rows.json()["audioFile"].toString()));

  // What was said is not lost: the kept audio can be transcribed once more.
  ASSERT_EQ(program.run({"models", "delete", "scripted"}).code, 0);
  ScriptedWhisperModel::Options fast;
  fast.text = "Second attempt.";
  program.installModel(fast);
  const Output retried = program.run({"history", "retry", rows.json()["id"].toString()});
  EXPECT_EQ(retried.code, 0) << retried.err.constData();
  EXPECT_TRUE(retried.out.contains("Second attempt")) << retried.out.constData();
  EXPECT_EQ(program.run({"history", "--json"}).json()["status"].toString(), "completed");
  EXPECT_EQ(program.run({"history", "--json"}).out.count('\n'), 1);

  // A text that is there is not put at stake: another try is another row, and the audio stays as long as one needs it.
  ASSERT_EQ(program.run({"history", "retry", rows.json()["id"].toString()}).code, 0);
  EXPECT_EQ(program.run({"history", "--json"}).out.count('\n'), 2);
  ASSERT_EQ(program.run({"history", "delete", rows.json()["id"].toString(), "--yes"}).code, 0);
  const Output left = program.run({"history", "--json"});
  EXPECT_NE(left.json()["id"], rows.json()["id"]);
  EXPECT_TRUE(QFileInfo::exists(left.json()["audioFile"].toString()));
  EXPECT_EQ(program.run({"history", "--discarded"}).out, QByteArray());
}

TEST_F(CommandLineProgramTest, TheSettingsPageOfTheDocumentationIsTheProgramsOwn) {
  QFile page(qEnvironmentVariable("QUILLMERE_SOURCE_DIR") + "/docs/settings.md");
  ASSERT_TRUE(page.open(QIODevice::ReadOnly));
  EXPECT_EQ(program.run({"settings", "describe"}).out, page.readAll())
      << "write it anew: quillmere settings describe > docs/settings.md";
}

TEST_F(CommandLineProgramTest, TheManualPageKnowsEveryCommandAndOption) {
  QFile page(qEnvironmentVariable("QUILLMERE_SOURCE_DIR") + "/docs/quillmere.1");
  ASSERT_TRUE(page.open(QIODevice::ReadOnly));
  const QString manual = QString::fromUtf8(page.readAll()).remove(u'\\');
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
  EXPECT_EQ(program.run({"settings", "set", "enableVAD", "false"}).code, 0);
  EXPECT_EQ(program.run({"settings", "get", "enableVAD"}).out, QByteArray("false\n"));
  EXPECT_EQ(program.run({"settings", "set", "audioSampleRate", "7999"}).code, 2);
  EXPECT_EQ(program.run({"settings", "set", "nonsense", "1"}).code, 2);
  EXPECT_EQ(program.run({"settings", "reset", "enableVAD"}).code, 0);
  EXPECT_EQ(program.run({"settings", "get", "enableVAD"}).out, QByteArray("true\n"));

  EXPECT_EQ(program.run({"modes", "add", "Letters", "--language", "pt_br", "--model", "base"}).code, 0);
  EXPECT_EQ(program.run({"modes", "add", "letters"}).code, 1) << "the name is taken, in any case";
  EXPECT_EQ(program.run({"modes", "edit", "LETTERS", "--name", "Briefe"}).code, 0);
  EXPECT_EQ(program.run({"modes", "show", "Briefe", "--json"}).json()["language"].toString(), "pt-BR");
  EXPECT_EQ(program.run({"modes", "use", "Briefe"}).code, 0);
  EXPECT_TRUE(program.run({"modes", "show", "Briefe", "--json"}).json()["isSelected"].toBool());
  EXPECT_EQ(program.run({"modes", "delete", "Briefe"}).code, 0);
  EXPECT_TRUE(program.run({"modes", "show", "Default", "--json"}).json()["isSelected"].toBool())
      << "the first of the others takes its place";
  EXPECT_EQ(program.run({"modes", "delete", "Default"}).code, 1) << "the last one stays";

  EXPECT_EQ(program.run({"vocabulary", "add", " quill mere ", "Quillmere"}).code, 0);
  EXPECT_EQ(program.run({"vocabulary", "add", "QUILL MERE"}).code, 1);
  EXPECT_EQ(program.run({"vocabulary", "--json"}).json()["word"].toString(), "quill mere");
  EXPECT_EQ(program.run({"vocabulary", "remove", "Quill Mere"}).code, 0);
  EXPECT_EQ(program.run({"vocabulary"}).out, QByteArray());
}

TEST_F(CommandLineProgramTest, AForeignOrDamagedStoreIsReportedAndLeftAsItIs) {
  program.run({"history"});
  for (const QByteArray& content : {QByteArray("this is no database, but somebody's notes\n").repeated(100),
                                    QByteArray("SQLite format 3\0", 16) + QByteArray(4080, 'x')}) {
    for (const char* tail : {"", "-wal", "-shm"}) QFile::remove(program.store() + tail);
    program.write("data/quillmere/Quillmere.sqlite", content);
    for (const QStringList& command : {QStringList{"history"}, QStringList{"vocabulary", "add", "word"}}) {
      const Output output = program.run(command);
      EXPECT_EQ(output.code, 5);
      EXPECT_TRUE(output.err.startsWith("Core Data failed to load: ")) << output.err.constData();
      EXPECT_EQ(output.err.count('\n'), 1) << output.err.constData();
    }
    QFile store(program.store());
    ASSERT_TRUE(store.open(QIODevice::ReadOnly));
    EXPECT_EQ(store.readAll(), content);
  }
  EXPECT_EQ(program.run({"models", "list"}).code, 0) << "what needs no store goes on";
}

TEST_F(CommandLineProgramTest, AFolderServesAsAModelHub) {
  QDir(program.file(QString())).mkdir("hub");
  program.write("hub/ggml-tiny.bin", "not the model at all");
  program.environment().insert("QUILLMERE_MODEL_HUB", program.file("hub"));
  const Output wrong = program.run({"models", "download", "tiny"});
  EXPECT_EQ(wrong.code, 6);
  EXPECT_EQ(wrong.err.count('\n'), 1) << wrong.err.constData();
  EXPECT_EQ(program.filesIn(program.file("data/quillmere/models")), QStringList());
  EXPECT_EQ(program.run({"models", "download", "base"}).code, 6) << "the hub doesn't have it";
  EXPECT_EQ(program.run({"models", "download", "nonsense"}).code, 2);
}

}  // namespace
}  // namespace quillmere
