#pragma once
#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>
#include <cmath>

#include "support/SampleMedia.h"
#include "support/ScriptedWhisperModel.h"

namespace quillmere {

// The built command line, run as a user runs it, in a home of its own that goes with this object.
class CommandLineProgram {
 public:
  struct Output {
    int code = -1;
    QByteArray out;
    QByteArray err;
    bool wasKilled = false;
    QJsonObject json() const { return QJsonDocument::fromJson(out.split('\n').value(0)).object(); }
  };

  CommandLineProgram() : environment_(QProcessEnvironment::systemEnvironment()) {
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

  static QString path() { return qEnvironmentVariable("QUILLMERE_BUILD_DIR") + "/src/app/quillmere"; }
  QString file(const QString& name) const { return home_.filePath(name); }
  QString recordings() const { return file("Documents/quillmere/recordings"); }
  QString store() const { return file("data/quillmere/Quillmere.sqlite"); }
  QProcessEnvironment& environment() { return environment_; }

  // Starts without waiting; the caller ends the process.
  void start(QProcess& process, const QStringList& arguments) const {
    process.setProcessEnvironment(environment_);
    process.setWorkingDirectory(home_.path());
    process.start(path(), arguments);
    process.waitForStarted();
  }

  Output run(const QStringList& arguments, const QByteArray& input = {}) const {
    QProcess process;
    start(process, arguments);
    process.write(input);
    process.closeWriteChannel();
    return finish(process);
  }

  static Output finish(QProcess& process) {
    if (!process.waitForFinished(60000)) process.kill();
    process.waitForFinished();
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError(),
            process.exitStatus() == QProcess::CrashExit};
  }

  // Installs a scripted model under the name "scripted".
  void installModel(const ScriptedWhisperModel::Options& options = {}) const {
    ASSERT_TRUE(ScriptedWhisperModel::write(file("scripted.bin"), options));
    const Output imported = run({"models", "import", file("scripted.bin"), "-q"});
    ASSERT_EQ(imported.out, QByteArray("scripted\n")) << imported.err.constData();
  }

  QStringList filesIn(const QString& folder) const { return QDir(folder).entryList(QDir::Files | QDir::Hidden); }

  void write(const QString& name, const QByteArray& bytes) const {
    QFile out(file(name));
    if (out.open(QIODevice::WriteOnly)) out.write(bytes);
  }

  // 16 bit mono WAV with a quiet tone.
  static QByteArray tone(double seconds) {
    return SampleMedia::wav(16000, 1, qint64(seconds * 16000),
                            [](qint64 frame, int) { return 0.09 * std::sin(double(frame) * 0.17); });
  }

 private:
  QTemporaryDir home_;
  QProcessEnvironment environment_;
};

}  // namespace quillmere
