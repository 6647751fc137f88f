#pragma once
#include <QString>
#include <QTimer>
#include <memory>
#include <optional>
#include <vector>

#include "app/compose/SignalWatcher.h"
#include "app/compose/session/DesktopServices.h"
#include "app/desktop/ControlService.h"
#include "app/desktop/LaunchAtLogin.h"
#include "app/windows/DesktopInterface.h"
#include "app/windows/DesktopNotices.h"
#include "base/async/TaskScope.h"
#include "ports/Workspace.h"

namespace quillmere {

// The running desktop application: the services, the windows over them, and the ways in from outside (tray, D-Bus,
// signals). One in a desktop session. Main thread; needs a QApplication.
class DesktopProgram final : public UserNotices {
 public:
  struct Options {
    bool isHidden = false;   // starts without the window
    QStringList files = {};  // to be transcribed, as URIs
  };
  explicit DesktopProgram(Options options);
  ~DesktopProgram() override;
  DesktopProgram(const DesktopProgram&) = delete;
  DesktopProgram& operator=(const DesktopProgram&) = delete;

  // Nothing when the application runs, else the exit code to end with: 0 where another instance took over.
  std::optional<int> start();
  // Finishes what is being recorded and delivered, then ends the event loop.
  void quit();

  void showToast(const QString& message, bool isCritical) override;

 private:
  DesktopWindows windowActions();
  DesktopIntents intents();
  void buildInterface();
  void followRecording();
  void followWorkspace();
  void showSurroundings();
  QString keysOf(const char* shortcutName) const;
  void showModelState();
  bool selectMode(const QString& name);
  void openFiles(const QStringList& uris);
  Task<bool> recoverRecordingsFolder();
  void pasteFromHistory(const QString& text);
  Task<void> pasteIntoLastApplication(QString text);
  void findFocus(const QRect& window, FloatingWindow::TellFocus tell);
  Task<void> findCaret(QRect window, FloatingWindow::TellFocus tell);
  Task<void> shutDown();
  QString status();

  Options options_;
  DesktopNotices notices_;
  QString lastNotice_;
  std::unique_ptr<ControlService> control_;
  std::unique_ptr<DesktopServices> services_;
  std::unique_ptr<LaunchAtLogin> launchAtLogin_;
  std::unique_ptr<DesktopInterface> interface_;
  std::unique_ptr<SignalWatcher> signals_;
  QTimer storeTimer_;         // another process may write to the store while the window shows it
  QStringList waitingFiles_;  // until the start is over
  std::optional<RunningApplication> lastOtherApplication_;
  std::vector<Subscription> subscriptions_;
  std::unique_ptr<TaskScope> scope_;
  bool isQuitting_ = false;
};

}  // namespace quillmere
