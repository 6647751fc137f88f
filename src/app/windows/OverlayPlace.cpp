#include "app/windows/OverlayPlace.h"

#include <algorithm>

namespace quillmere {

QPoint overlayPlace(const QRect& available, const QSize& size, const FocusPlace& focus) {
  const int x = qRound(available.x() + (available.width() - size.width()) * 0.5);
  const int atBottom = available.y() + available.height() - overlayMargin - size.height();
  const QRect window = focus.window & available;
  if (window.isEmpty()) return {x, atBottom};
  const int leftmost = available.left() + overlayGap;
  const int rightmost = std::max(leftmost, available.right() + 1 - overlayGap - size.width());
  const int beside = std::clamp(window.x() + (window.width() - size.width()) / 2, leftmost, rightmost);
  const int below = window.bottom() + 1 + overlayGap;
  if (below + size.height() + overlayGap <= available.bottom() + 1) return {beside, below};
  const int above = window.top() - overlayGap - size.height();
  if (above >= available.top() + overlayGap) return {beside, above};
  const int atTop = available.top() + overlayMargin;
  const QRect line(window.left(), focus.caret.top() - overlayGap, window.width(),
                   focus.caret.height() + 2 * overlayGap);
  const bool isInTheWay = focus.caret.height() > 0 && line.intersects(QRect(QPoint(beside, atBottom), size));
  return {beside, isInTheWay ? atTop : atBottom};
}

QPoint toastPlace(const QRect& available, const QSize& size, const FocusPlace& focus) {
  const QPoint pill = overlayPlace(available, QSize(size.width(), overlayHeight), focus);
  const bool isHigh = pill.y() < available.center().y();
  return {pill.x(), isHigh ? pill.y() + overlayHeight + toastGap : pill.y() - toastGap - size.height()};
}

QRect scaledRect(const QRect& native, const QRect& screen, qreal ratio) {
  if (native.isEmpty()) return {};
  const QPointF corner = QPointF(native.topLeft() - screen.topLeft()) / ratio;
  return QRectF(QPointF(screen.topLeft()) + corner, QSizeF(native.size()) / ratio).toAlignedRect();
}

}  // namespace quillmere
