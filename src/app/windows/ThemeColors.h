#pragma once
#include <QColor>
#include <optional>

namespace quillmere {

// The colours of the interface, by what they are for. Pure.
struct ThemeColors {
  QColor ground;   // behind everything
  QColor surface;  // cards, fields, buttons
  QColor sunken;   // sidebar, chips, empty part of a bar
  QColor line;     // edges
  QColor text;
  QColor dim;  // text that stands back
  QColor accent;
  QColor softAccent;
  QColor onAccent;  // text on the accent
  QColor recording;
  QColor warning;
  QColor success;

  static ThemeColors light();
  static ThemeColors dark();
  // The pill and the toasts are dark in both schemes.
  static ThemeColors overlay();

  // The same with the desktop's accent where that is legible on every ground.
  ThemeColors withAccent(const QColor& wanted) const;
  // Edges and dim text as strong as text.
  ThemeColors withHighContrast() const;
};

// By the formula of WCAG 2: 1 (the same) to 21 (black on white). Opaque colours.
double contrastRatio(const QColor& a, const QColor& b);
QColor mixed(const QColor& a, const QColor& b, double partOfB);

}  // namespace quillmere
