#pragma once
#include "base/text/LocalizedText.h"
#include "ports/KeySynthesizer.h"

namespace quillmere {

// Stands behind the port where there is no display. Recording and transcribing work without one.
class AbsentKeySynthesizer final : public KeySynthesizer {
 public:
  bool isAvailable() const override { return false; }
  std::optional<int> keyCodeForLetter(QChar) override { return std::nullopt; }
  Result<void, PlatformError> press(int, Modifier) override { return Failed{error()}; }
  Result<void, PlatformError> press(NamedKey, Modifier) override { return Failed{error()}; }

 private:
  static PlatformError error() { return {QStringLiteral("display"), 0, localizedText("doctor.display.absent")}; }
};

}  // namespace quillmere
