#include "app/windows/OverlayPlace.h"

namespace quillmere {

QPoint overlayPlace(const QRect& available, const QSize& size) {
  const int x = qRound(available.x() + (available.width() - size.width()) * 0.5);
  return {x, available.y() + available.height() - overlayMargin - size.height()};
}

QPoint toastPlace(const QRect& available, const QSize& size) {
  return overlayPlace(available, size) - QPoint(0, overlayHeight + toastGap);
}

}  // namespace quillmere
