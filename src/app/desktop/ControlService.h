#pragma once
#include <QObject>
#include <QString>
#include <functional>

namespace quillmere {

// The running application on the session bus: what `quillmere toggle|cancel|status|show|quit` and the key bindings of
// compositors reach. Main thread.
class ControlService final : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "com.quillmere.Quillmere")
 public:
  struct Actions {
    std::function<void(const QString& modeName)> toggle;  // "" is the selected mode
    std::function<void()> cancel;
    std::function<QString()> status;  // one JSON object
    std::function<void()> showWindow;
    std::function<void(const QStringList& uris)> openFiles;  // to be transcribed
    std::function<void()> quit;
  };
  enum class Registration { registered, alreadyRunning, noBus };

  explicit ControlService(Actions actions);
  ~ControlService() override;

  // Takes the name on the session bus. alreadyRunning: another process of this desktop session has it.
  Registration registerOnBus();
  // Asks the process that has the name to show its window, or to transcribe these files; false when it didn't answer.
  static bool handOver(const QStringList& uris);

 public Q_SLOTS:
  Q_SCRIPTABLE void Toggle(const QString& mode);
  Q_SCRIPTABLE void Cancel();
  Q_SCRIPTABLE QString Status();
  Q_SCRIPTABLE void ShowWindow();
  Q_SCRIPTABLE void OpenFiles(const QStringList& uris);
  Q_SCRIPTABLE void Quit();

 private:
  Actions actions_;
  bool isRegistered_ = false;
};

}  // namespace quillmere
