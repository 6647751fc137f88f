#pragma once
#include <QMap>
#include <QStringList>
#include <functional>

#include "ports/KeySynthesizer.h"

namespace quillmere {

// Writes down every keystroke: "control+55", "shift+insert", "tab".
class FakeKeySynthesizer final : public KeySynthesizer {
 public:
  QMap<QChar, int> keyCodes{{QLatin1Char('v'), 55}};
  bool available = true;
  std::optional<PlatformError> failure;
  QStringList strokes;
  std::function<void(const QString& stroke)> onStroke;

  bool isAvailable() const override { return available; }
  std::optional<int> keyCodeForLetter(QChar letter) override {
    const auto found = keyCodes.constFind(letter.toLower());
    return available && found != keyCodes.constEnd() ? std::optional(*found) : std::nullopt;
  }
  Result<void, PlatformError> press(int keyCode, Modifier modifier) override {
    if (keyCode < 8 || keyCode > 255) return Failed{PlatformError{QStringLiteral("x11"), 0, QStringLiteral("no key")}};
    return press(modifierText(modifier) + QString::number(keyCode));
  }
  Result<void, PlatformError> press(NamedKey key, Modifier modifier) override {
    const char* const name = key == NamedKey::space ? "space" : key == NamedKey::tab ? "tab" : "insert";
    return press(modifierText(modifier) + QLatin1String(name));
  }

 private:
  static QString modifierText(Modifier modifier) {
    if (modifier == Modifier::none) return {};
    return modifier == Modifier::control ? "control+" : "shift+";
  }
  Result<void, PlatformError> press(const QString& stroke) {
    if (!available) return Failed{PlatformError{"x11", 1, "Keys can't be sent."}};
    if (failure) return Failed{*failure};
    strokes.append(stroke);
    if (onStroke) onStroke(stroke);
    return {};
  }
};

}  // namespace quillmere
