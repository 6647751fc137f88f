#include "app/desktop/Theme.h"

#include <gtest/gtest.h>

namespace quillmere {
namespace {

void expectLegible(const ThemeColors& c, const char* name) {
  struct Pair {
    const char* what;
    QColor front, back;
    double ratio;
  };
  std::vector<Pair> pairs;
  for (const auto& [what, back] : {std::pair{"ground", c.ground}, {"surface", c.surface}, {"sunken", c.sunken}}) {
    pairs.push_back({what, c.text, back, 4.5});
    pairs.push_back({what, c.dim, back, 4.5});
    pairs.push_back({what, c.accent, back, 4.5});
    pairs.push_back({what, c.recording, back, 4.5});
    pairs.push_back({what, c.warning, back, 4.5});
    pairs.push_back({what, c.success, back, 4.5});
  }
  pairs.push_back({"on soft accent", c.text, c.softAccent, 4.5});
  pairs.push_back({"accent on soft accent", c.accent, c.softAccent, 4.5});
  pairs.push_back({"on accent", c.onAccent, c.accent, 4.5});
  for (const Pair& pair : pairs)
    EXPECT_GE(contrastRatio(pair.front, pair.back), pair.ratio)
        << name << " " << pair.what << ": " << qPrintable(pair.front.name()) << " on " << qPrintable(pair.back.name());
}

TEST(ThemeColors, EveryTextIsLegible) {
  EXPECT_NEAR(contrastRatio(Qt::white, Qt::black), 21, 0.01);
  EXPECT_NEAR(contrastRatio(QColor(0x77, 0x77, 0x77), Qt::white), 4.48, 0.01);
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
  appearance.take(gnome, QStringLiteral("text-scaling-factor"), 1.5);
  EXPECT_EQ(theme.body(), 20);
  appearance.take(gnome, QStringLiteral("text-scaling-factor"), QStringLiteral("wide"));
  EXPECT_EQ(theme.body(), 20);
  appearance.take(gnome, QStringLiteral("text-scaling-factor"), 1e9);
  EXPECT_EQ(theme.body(), 39);
  appearance.take(space, QStringLiteral("contrast"), 1U);
  EXPECT_EQ(theme.dim(), theme.text());
}

}  // namespace
}  // namespace quillmere
