#pragma once
#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>
#include <functional>
#include <memory>
#include <optional>
#include <tuple>

#include "app/windows/Theme.h"
#include "interface/AppStateViewModel.h"

namespace quillmere {

// The icon in the tray and its menu. The colour follows the state, the tooltip says it in words. Main thread, needs a
// QApplication. Where the desktop has no tray yet the icon appears with it.
class TrayIcon final : public QObject {
  Q_OBJECT
 public:
  struct Intents {
    std::function<void()> openWindow;
    std::function<void()> transcribeFiles;  // empty: can't be done
    std::function<void()> quit;
  };
  TrayIcon(AppStateViewModel& app, Theme& theme, Intents intents);
  ~TrayIcon() override;

  void show() { icon_.show(); }
  QMenu& menu() { return menu_; }
  QString toolTip() const { return icon_.toolTip(); }
  static QIcon icon(AppStateViewModel::TrayState state, const ThemeColors& colors);

 private:
  void refresh();
  void readModes();

  AppStateViewModel& app_;
  Theme& theme_;
  Intents intents_;
  QMenu menu_;
  QMenu* modeMenu_ = nullptr;
  QAction* recordAction_ = nullptr;
  QAction* cancelAction_ = nullptr;
  QAction* copyAction_ = nullptr;
  QAction* retryAction_ = nullptr;
  QSystemTrayIcon icon_;
  std::optional<std::tuple<AppStateViewModel::TrayState, QRgb, QRgb>> look_;  // of the icon that is shown
};

}  // namespace quillmere
