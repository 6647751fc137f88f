#pragma once
#include <QPoint>
#include <QRect>
#include <QSize>

namespace quillmere {

// Where the floating pills stand. Pure.

// What the user looks at, as rectangles that are empty where nothing is known: the window that has the keyboard, and
// the cursor in it.
struct FocusPlace {
  QRect window;
  QRect caret;
  bool operator==(const FocusPlace&) const = default;
};

// Beside the window, in its middle: below it, above it, or where neither has room, over it near the lower or the upper
// edge of the screen, whichever is clear of the line that is written. Without a window at the bottom of the usable part
// of the screen, in its middle.
QPoint overlayPlace(const QRect& available, const QSize& size, const FocusPlace& focus = {});
// Above the pill, or below one that stands in the upper half.
QPoint toastPlace(const QRect& available, const QSize& size, const FocusPlace& focus = {});
// From the display's pixels to those of a screen that is scaled.
QRect scaledRect(const QRect& native, const QRect& screen, qreal ratio);

inline constexpr int overlayHeight = 40;
inline constexpr int overlayMargin = 40;  // to the edge of the screen
inline constexpr int overlayGap = 8;      // to a window, and to the line that is written
inline constexpr int toastGap = 8;

}  // namespace quillmere
