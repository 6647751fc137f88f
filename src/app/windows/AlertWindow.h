#pragma once
#include <QObject>
#include <QQuickWindow>
#include <functional>
#include <memory>

#include "app/windows/DesktopQml.h"
#include "interface/AlertsViewModel.h"

namespace quillmere {

// The dialog of the alerts. It takes the keyboard only from this program's own windows: over another program, where
// somebody may be typing, it comes up without. Main thread; everything outlives it.
class AlertWindow final : public QObject {
  Q_OBJECT
 public:
  // `owner` gives this program's window that has the keyboard; null: none has.
  AlertWindow(DesktopQml& qml, AlertsViewModel& alerts, std::function<QWindow*()> owner);
  ~AlertWindow() override;

  // Null until there was an alert.
  QQuickWindow* window() const { return window_.get(); }

 private:
  void follow();

  DesktopQml& qml_;
  AlertsViewModel& alerts_;
  std::function<QWindow*()> owner_;
  std::unique_ptr<QQuickWindow> window_;
};

}  // namespace quillmere
