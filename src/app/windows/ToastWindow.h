#pragma once
#include <QObject>

#include "app/windows/FloatingWindow.h"
#include "interface/ToastPanel.h"

namespace quillmere {

// A toast over a FloatingWindow of "ToastWindow.qml". Main thread; the window outlives it.
class ToastWindow final : public QObject, public ToastPanel {
  Q_OBJECT
 public:
  explicit ToastWindow(FloatingWindow& window) : window_(window) {}

  void show(const ToastContent& content, std::function<void()> onDismiss) override;
  void hide() override;
  Q_INVOKABLE void dismiss();

 private:
  FloatingWindow& window_;
  std::function<void()> onDismiss_;
};

}  // namespace quillmere
