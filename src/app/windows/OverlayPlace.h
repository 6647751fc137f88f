#pragma once
#include <QPoint>
#include <QRect>
#include <QSize>

namespace quillmere {

// Where the floating pills stand. Pure.

// At the bottom of the usable part of the screen, in its middle, 40 above the edge.
QPoint overlayPlace(const QRect& available, const QSize& size);
// Above the pill.
QPoint toastPlace(const QRect& available, const QSize& size);

inline constexpr int overlayHeight = 40;
inline constexpr int overlayMinimumWidth = 200;
inline constexpr int overlayMaximumWidth = 360;
inline constexpr int overlayMargin = 40;
inline constexpr int toastGap = 8;

}  // namespace quillmere
