#pragma once
#include <QObject>
#include <QPointer>
#include <QQuickWindow>
#include <functional>
#include <memory>

#include "app/windows/DesktopQml.h"
#include "app/windows/OverlayPlace.h"

namespace quillmere {

// A small window over all others that never takes the keyboard: the pill and the toasts. Its QML window is made at the
// first use or by prepare(), and kept. Main thread.
class FloatingWindow final : public QObject {
  Q_OBJECT
 public:
  using Place = std::function<QPoint(const QRect& available, const QSize& size, const FocusPlace& focus)>;
  // In the display's pixels. Called at once, and once more where the cursor is found later.
  using TellFocus = std::function<void(const FocusPlace& focus)>;

  struct Screen {
    // Whether translucent windows are mixed; without it the window is cut to its round shape. Default: yes.
    std::function<bool()> isComposited = {};
    // Called before the window is shown, each time: tells the window manager what it is.
    std::function<void(WId)> announce = {};
    // Called before the window is shown: finds what has the keyboard.
    std::function<void(TellFocus)> findFocus = {};
  };

  FloatingWindow(DesktopQml& qml, QString fileName, Place place, Screen screen);
  ~FloatingWindow() override;

  void prepare();
  // Null when the window can't be made.
  QQuickWindow* window();
  void show();
  void hide();
  void orderFront();
  bool isShown() const { return isShown_; }

 Q_SIGNALS:
  void screensChanged();

 private:
  void place();
  void cut();
  void followScreen();
  void findFocus();
  QScreen* screenOfFocus() const;

  DesktopQml& qml_;
  const QString fileName_;
  const Place place_;
  const Screen screen_;
  std::unique_ptr<QQuickWindow> window_;
  FocusPlace focus_;  // in the display's pixels
  quint64 showing_ = 0;
  bool isShown_ = false;
  int lastWidth_ = 0;
};

}  // namespace quillmere
