#include "app/windows/ThemeColors.h"

#include <algorithm>
#include <cmath>

namespace quillmere {
namespace {

constexpr double textContrast = 4.5;

QColor rgb(unsigned value) {
  return QColor::fromRgb(QRgb(value | 0xFF000000U));
}

double luminance(const QColor& color) {
  const auto channel = [](double c) { return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); };
  return 0.2126 * channel(color.redF()) + 0.7152 * channel(color.greenF()) + 0.0722 * channel(color.blueF());
}

}  // namespace

double contrastRatio(const QColor& a, const QColor& b) {
  const double la = luminance(a), lb = luminance(b);
  return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

QColor mixed(const QColor& a, const QColor& b, double partOfB) {
  const auto mix = [&](double x, double y) { return float(x + (y - x) * partOfB); };
  return QColor::fromRgbF(mix(a.redF(), b.redF()), mix(a.greenF(), b.greenF()), mix(a.blueF(), b.blueF()));
}

ThemeColors ThemeColors::light() {
  return {.ground = rgb(0xFAF9F7),
          .surface = rgb(0xFFFFFF),
          .sunken = rgb(0xF1F0EC),
          .line = rgb(0xE2E0DA),
          .text = rgb(0x1B1D1F),
          .dim = rgb(0x5D6268),
          .accent = rgb(0x0E6F71),
          .softAccent = rgb(0xDCEFEE),
          .onAccent = rgb(0xFAF9F7),
          .recording = rgb(0xCA2C27),
          .warning = rgb(0xA85700),
          .success = rgb(0x1C7A3A)};
}

ThemeColors ThemeColors::dark() {
  return {.ground = rgb(0x15181A),
          .surface = rgb(0x1D2124),
          .sunken = rgb(0x111416),
          .line = rgb(0x2F353A),
          .text = rgb(0xECEEEF),
          .dim = rgb(0xA3ABB2),
          .accent = rgb(0x5CCAC7),
          .softAccent = rgb(0x173739),
          .onAccent = rgb(0x15181A),
          .recording = rgb(0xFF6D64),
          .warning = rgb(0xF0A75C),
          .success = rgb(0x6CCB8C)};
}

ThemeColors ThemeColors::overlay() {
  ThemeColors colors = dark();
  colors.ground = colors.surface = rgb(0x16191B);
  colors.text = rgb(0xF2F4F5);
  colors.dim = rgb(0xB9C1C7);
  colors.line = mixed(colors.ground, rgb(0xFFFFFF), 0.25);
  return colors;
}

ThemeColors ThemeColors::withAccent(const QColor& wanted) const {
  ThemeColors colors = *this;
  colors.accent = wanted;
  colors.softAccent = mixed(surface, wanted, 0.16);
  colors.onAccent = contrastRatio(wanted, ground) >= contrastRatio(wanted, text) ? ground : text;
  for (const QColor& behind : {ground, surface, sunken, colors.softAccent})
    if (contrastRatio(wanted, behind) < textContrast) return *this;
  if (contrastRatio(colors.onAccent, wanted) < textContrast || contrastRatio(text, colors.softAccent) < textContrast)
    return *this;
  return colors;
}

ThemeColors ThemeColors::withHighContrast() const {
  ThemeColors colors = *this;
  colors.dim = text;
  colors.line = text;
  return colors;
}

}  // namespace quillmere
