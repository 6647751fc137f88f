#pragma once
#include <QString>
#include <optional>

#include "base/Result.h"
#include "domain/Errors.h"

namespace quillmere {

// Sends keystrokes to the focused window. Main thread; blocks for the 10 ms between press and release.
class KeySynthesizer {
 public:
  enum class Modifier { none, control, shift };
  enum class NamedKey { space, tab, insert };
  virtual ~KeySynthesizer() = default;
  // False where the platform has no way to send keys.
  virtual bool isAvailable() const = 0;
  // Key code that gives this letter on the current layout, on another layout of the list if the current has none;
  // none when no layout has it.
  virtual std::optional<int> keyCodeForLetter(QChar letter) = 0;
  // Modifiers that the user holds are released first, and stay released for the stroke.
  virtual Result<void, PlatformError> press(int keyCode, Modifier modifier) = 0;
  virtual Result<void, PlatformError> press(NamedKey key, Modifier modifier) = 0;
};

}  // namespace quillmere
