#pragma once
#include <QStringList>
#include <functional>

namespace quillmere {

// Takes Return, keypad Enter and Escape from the focused window while it runs; every other key passes. Main thread.
class KeyInterceptor {
 public:
  virtual ~KeyInterceptor() = default;
  // Names of these keys, as in a KeyCombination.
  static QStringList keys() { return {QStringLiteral("Return"), QStringLiteral("KP_Enter"), QStringLiteral("Escape")}; }
  // False when the keys can't be had; then nothing is taken.
  virtual bool start(std::function<void()> onReturn, std::function<void()> onEscape) = 0;
  virtual void stop() = 0;
};

}  // namespace quillmere
