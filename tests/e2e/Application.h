#pragma once
#include <QJsonObject>
#include <QProcess>
#include <QStringList>
#include <memory>

#include "e2e/Tool.h"

namespace quillmere {

// The built desktop application in the home of this desktop, started and driven as a user or a compositor would.
class Application {
 public:
  // The home gets the starter model, the mode that uses it, and no first run; settings as pairs of key and value.
  explicit Application(const QList<std::pair<QString, QString>>& settings = {});
  ~Application();

  // Starts it and waits until it answers; false when it didn't.
  bool start(const QStringList& arguments = {});
  // Ends it in order; false when it had to be killed.
  bool quit();
  void kill();  // SIGKILL
  bool isRunning() const;
  qint64 processId() const;

  // The built program of that name.
  static QString program(const char* name);
  // The command line of the same home: `quillmere ARGUMENT...`.
  static Tool command(const QStringList& arguments);

  void toggle();
  void cancel();
  QJsonObject status() const;
  QString state() const;
  // "idle", "recording", "transcribing", ...
  bool waitForState(const QString& state) const;
  // Records while the words are spoken into the microphone.
  bool record(double seconds = 3.2);
  // The same, then stops and waits until it is idle again.
  bool dictate(double seconds = 3.2);

  // Newest first, as `quillmere history --json` gives them.
  static QList<QJsonObject> history(const QStringList& options = {});
  // What it wrote to its error stream.
  QByteArray errors() const;

 private:
  std::unique_ptr<QProcess> process_;
};

}  // namespace quillmere
