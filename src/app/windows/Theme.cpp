#include "app/windows/Theme.h"

namespace quillmere {

Theme::Theme(DesktopAppearance& appearance, QObject* parent) : QObject(parent), appearance_(appearance) {
  update();
  connect(&appearance_, &DesktopAppearance::changed, this, [this] {
    update();
    Q_EMIT changed();
  });
}

void Theme::update() {
  const DesktopAppearance::Values& values = appearance_.values();
  colors_ = values.isDark ? ThemeColors::dark() : ThemeColors::light();
  if (values.accent) colors_ = colors_.withAccent(*values.accent);
  if (values.isHighContrast) colors_ = colors_.withHighContrast();
}

}  // namespace quillmere
