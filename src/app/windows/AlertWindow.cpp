#include "app/windows/AlertWindow.h"

#include <QScreen>

namespace quillmere {

AlertWindow::AlertWindow(DesktopQml& qml, AlertsViewModel& alerts, std::function<QWindow*()> owner)
    : qml_(qml), alerts_(alerts), owner_(std::move(owner)) {
  connect(&alerts_, &AlertsViewModel::changed, this, &AlertWindow::follow);
}

AlertWindow::~AlertWindow() = default;

void AlertWindow::follow() {
  if (!alerts_.isShown()) {
    if (window_) window_->hide();
    return;
  }
  if (!window_) window_ = qml_.createWindow(QStringLiteral("AlertWindow"));
  if (!window_ || window_->isVisible()) return;
  QWindow* const owner = owner_ ? owner_() : nullptr;
  window_->setTransientParent(owner);
  window_->setModality(owner ? Qt::WindowModal : Qt::NonModal);
  const QRect around = owner ? owner->geometry() : window_->screen() ? window_->screen()->availableGeometry() : QRect();
  window_->setPosition(around.center() - QPoint(window_->width() / 2, window_->height() / 2));
  window_->setProperty("_q_showWithoutActivating", owner == nullptr);
  window_->show();
  window_->raise();
  if (owner) window_->requestActivate();
}

}  // namespace quillmere
