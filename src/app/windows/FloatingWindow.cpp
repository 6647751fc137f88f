#include "app/windows/FloatingWindow.h"

#include <QGuiApplication>
#include <QPainterPath>
#include <QRegion>
#include <QScreen>
#include <algorithm>

namespace quillmere {

FloatingWindow::FloatingWindow(DesktopQml& qml, QString fileName, Place place, Screen screen)
    : qml_(qml), fileName_(std::move(fileName)), place_(std::move(place)), screen_(std::move(screen)) {
  connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, &FloatingWindow::followScreen);
  connect(qGuiApp, &QGuiApplication::screenAdded, this, &FloatingWindow::followScreen);
  connect(qGuiApp, &QGuiApplication::screenRemoved, this, &FloatingWindow::followScreen);
  followScreen();
}

FloatingWindow::~FloatingWindow() = default;

void FloatingWindow::followScreen() {
  if (QScreen* const screen = QGuiApplication::primaryScreen()) {
    disconnect(screen, nullptr, this, nullptr);
    connect(screen, &QScreen::availableGeometryChanged, this, [this] {
      place();
      Q_EMIT screensChanged();
    });
  }
  place();
  Q_EMIT screensChanged();
}

void FloatingWindow::prepare() {
  if (window_) return;
  window_ = qml_.createWindow(fileName_);
  if (!window_) return;
  window_->setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus |
                    Qt::NoDropShadowWindowHint);
  window_->setColor(Qt::transparent);
  const auto resized = [this] {
    place();
    cut();
  };
  connect(window_.get(), &QWindow::widthChanged, this, resized);
  connect(window_.get(), &QWindow::heightChanged, this, resized);
  window_->create();
}

QQuickWindow* FloatingWindow::window() {
  prepare();
  return window_.get();
}

void FloatingWindow::show() {
  if (!window()) return;
  if (!isShown_) {
    isShown_ = true;
    window_->setProperty("wasMoved", false);
    lastWidth_ = window_->width();
    findFocus();
    place();
    cut();
    if (screen_.announce) screen_.announce(window_->winId());
    window_->show();
  }
  window_->raise();
}

void FloatingWindow::hide() {
  isShown_ = false;
  if (window_) window_->hide();
}

void FloatingWindow::orderFront() {
  if (isShown_ && window_) window_->raise();
}

void FloatingWindow::findFocus() {
  focus_ = {};
  ++showing_;
  if (!screen_.findFocus) return;
  screen_.findFocus([self = QPointer<FloatingWindow>(this), showing = showing_](const FocusPlace& focus) {
    if (!self || self->showing_ != showing || focus == self->focus_) return;
    self->focus_ = focus;
    self->place();
  });
}

// The one that has the most of the window.
QScreen* FloatingWindow::screenOfFocus() const {
  QScreen* best = QGuiApplication::primaryScreen();
  qint64 most = 0;
  for (QScreen* const screen : QGuiApplication::screens()) {
    const QRect area = screen->geometry();
    const QRect native(area.topLeft(), area.size() * screen->devicePixelRatio());
    const QRect part = native & focus_.window;
    const qint64 size = part.isEmpty() ? 0 : qint64(part.width()) * part.height();
    if (size > most) best = screen;
    most = std::max(most, size);
  }
  return best;
}

void FloatingWindow::place() {
  QScreen* const screen = screenOfFocus();
  if (!isShown_ || !window_ || !screen) return;
  const QRect area = screen->geometry();
  const qreal ratio = screen->devicePixelRatio();
  const FocusPlace focus{scaledRect(focus_.window, area, ratio), scaledRect(focus_.caret, area, ratio)};
  // Where the user has put it, it grows about its middle.
  const QPoint wanted = window_->property("wasMoved").toBool()
                            ? window_->position() - QPoint((window_->width() - lastWidth_) / 2, 0)
                            : place_(screen->availableGeometry(), window_->size(), focus);
  lastWidth_ = window_->width();
  window_->setPosition(wanted);
}

void FloatingWindow::cut() {
  if (!window_) return;
  if (!screen_.isComposited || screen_.isComposited()) {
    window_->setMask({});
    return;
  }
  QPainterPath shape;
  shape.addRoundedRect(QRectF(QPointF(), window_->size()), overlayHeight / 2.0, overlayHeight / 2.0);
  window_->setMask(QRegion(shape.toFillPolygon().toPolygon()));
}

}  // namespace quillmere
