#include "app/windows/Theme.h"

#include <gtest/gtest.h>

namespace quillmere {
namespace {

void expectLegible(const ThemeColors& c, const char* name) {
  const auto expect = [name](const QColor& front, const QColor& back) {
    EXPECT_GE(contrastRatio(front, back), 4.5)
        << name << ": " << qPrintable(front.name()) << " on " << qPrintable(back.name());
  };
  for (const QColor& back : {c.ground, c.surface, c.sunken})
    for (const QColor& front : {c.text, c.dim, c.accent, c.recording, c.warning, c.success}) expect(front, back);
  for (const QColor& front : {c.text, c.accent}) expect(front, c.softAccent);
  expect(c.onAccent, c.accent);
}

TEST(ThemeColors, EveryTextIsLegible) {
  EXPECT_NEAR(contrastRatio(Qt::white, Qt::black), 21, 0.01);
  for (const bool isDark : {false, true}) {
    const ThemeColors plain = isDark ? ThemeColors::dark() : ThemeColors::light();
    expectLegible(plain, isDark ? "dark" : "light");
    expectLegible(plain.withHighContrast(), "high contrast");
    EXPECT_GE(contrastRatio(plain.withHighContrast().line, plain.surface), 7);
    // Whatever accent a desktop comes up with.
    int taken = 0;
    for (int hue = 0; hue < 360; hue += 15)
      for (const int lightness : {10, 60, 110, 160, 210, 250}) {
        const QColor accent = QColor::fromHsl(hue, 200, lightness);
        const ThemeColors themed = plain.withAccent(accent);
        expectLegible(themed, "accented");
        taken += themed.accent == accent;
      }
    EXPECT_GT(taken, 20);
  }
  const ThemeColors pill = ThemeColors::overlay();
  for (const QColor& front : {pill.text, pill.dim, pill.accent, pill.recording, pill.warning, pill.success})
    EXPECT_GE(contrastRatio(front, pill.ground), 4.5);
}

TEST(DesktopAppearance, TakesWhatTheDesktopSays) {
  DesktopAppearance appearance(false);
  int changes = 0;
  QObject::connect(&appearance, &DesktopAppearance::changed, &appearance, [&] { ++changes; });
  const QString space = QStringLiteral("org.freedesktop.appearance");
  const QString gnome = QStringLiteral("org.gnome.desktop.interface");
  Theme theme(appearance);
  appearance.take(space, QStringLiteral("color-scheme"), 1U);
  EXPECT_EQ(theme.ground(), ThemeColors::dark().ground);
  appearance.take(space, QStringLiteral("color-scheme"), 2U);
  EXPECT_EQ(theme.ground(), ThemeColors::light().ground);
  const int before = changes;
  appearance.take(space, QStringLiteral("color-scheme"), 2U);
  appearance.take(space, QStringLiteral("unknown"), 2U);
  appearance.take(space, QStringLiteral("accent-color"), QStringLiteral("no colour"));
  EXPECT_EQ(changes, before);
  appearance.take(gnome, QStringLiteral("enable-animations"), false);
  EXPECT_EQ(theme.move(), 0);
  for (const auto& [scale, body] : {std::pair(QVariant(1.5), 20), {QStringLiteral("wide"), 20}, {1e9, 39}}) {
    appearance.take(gnome, QStringLiteral("text-scaling-factor"), scale);
    EXPECT_EQ(theme.body(), body);
  }
  appearance.take(space, QStringLiteral("contrast"), 1U);
  EXPECT_EQ(theme.dim(), theme.text());
}

}  // namespace
}  // namespace quillmere
