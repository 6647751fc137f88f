#pragma once
#include <gtest/gtest.h>

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include "support/Files.h"
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

  CommandLineProgram();

  static QString path() { return qEnvironmentVariable("QUILLMERE_BUILD_DIR") + "/src/app/quillmere"; }
  QString file(const QString& name) const { return home_.filePath(name); }
  QString recordings() const { return file("Documents/quillmere/recordings"); }
  QProcessEnvironment& environment() { return environment_; }

  // Starts without waiting; the caller ends the process.
  void start(QProcess& process, const QStringList& arguments) const;
  Output run(const QStringList& arguments, const QByteArray& input = {}) const;
  static Output finish(QProcess& process);

  // Expects this exit status.
  Output expect(int code, const QStringList& arguments) const;

  // Installs a scripted model under the name "scripted".
  void installModel(const ScriptedWhisperModel::Options& options = {}) const;
  QStringList filesIn(const QString& folder) const { return QDir(folder).entryList(QDir::Files | QDir::Hidden); }
  void write(const QString& name, const QByteArray& bytes) const { writeFile(file(name), bytes); }
  // 16 bit mono WAV with a quiet tone.
  static QByteArray tone(double seconds);
  // The same with 37 seconds, eleven of which are speech; empty without the clip of third_party/fetch.sh.
  static QByteArray speechAmongSilence();

 private:
  QTemporaryDir home_;
  QProcessEnvironment environment_;
};

}  // namespace quillmere
