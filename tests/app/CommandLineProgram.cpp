#include "CommandLineProgram.h"

#include "support/SpeechClip.h"

namespace quillmere {

CommandLineProgram::CommandLineProgram() : environment_(QProcessEnvironment::systemEnvironment()) {
  for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "QUILLMERE_MODEL_HUB", "XDG_DOCUMENTS_DIR"})
    environment_.remove(QString::fromLatin1(name));
  environment_.insert("LANG", "C.UTF-8");
  environment_.insert("HOME", home_.path());
  environment_.insert("XDG_DATA_HOME", home_.filePath("data"));
  environment_.insert("XDG_CONFIG_HOME", home_.filePath("config"));
  environment_.insert("XDG_STATE_HOME", home_.filePath("state"));
  environment_.insert("TMPDIR", home_.filePath("tmp"));
  QDir(home_.path()).mkpath("tmp");
}

void CommandLineProgram::start(QProcess& process, const QStringList& arguments) const {
  process.setProcessEnvironment(environment_);
  process.setWorkingDirectory(home_.path());
  process.start(path(), arguments);
  process.waitForStarted();
}

CommandLineProgram::Output CommandLineProgram::run(const QStringList& arguments, const QByteArray& input) const {
  QProcess process;
  start(process, arguments);
  process.write(input);
  process.closeWriteChannel();
  return finish(process);
}

CommandLineProgram::Output CommandLineProgram::expect(int code, const QStringList& arguments) const {
  const Output output = run(arguments);
  EXPECT_EQ(output.code, code) << arguments.join(u' ').toStdString() << ": " << output.err.constData();
  return output;
}

CommandLineProgram::Output CommandLineProgram::finish(QProcess& process) {
  if (!process.waitForFinished(60000)) process.kill();
  process.waitForFinished();
  return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError(),
          process.exitStatus() == QProcess::CrashExit};
}

void CommandLineProgram::installModel(const ScriptedWhisperModel::Options& options) const {
  ASSERT_TRUE(ScriptedWhisperModel::write(file("scripted.bin"), options));
  const Output imported = run({"models", "import", file("scripted.bin"), "-q"});
  ASSERT_EQ(imported.out, QByteArray("scripted\n")) << imported.err.constData();
}

QByteArray CommandLineProgram::tone(double seconds) {
  return SampleMedia::wav(16000, 1, qint64(seconds * 16000),
                          [](qint64 frame, int) { return 0.09 * std::sin(double(frame) * 0.17); });
}

QByteArray CommandLineProgram::speechAmongSilence() {
  const QByteArray clip = SpeechClip::pcm();
  if (clip.isEmpty()) return {};
  return SampleMedia::wav(16000, 1, SpeechClip::silence(12) + clip + SpeechClip::silence(14));
}

}  // namespace quillmere
