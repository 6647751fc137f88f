#pragma once
#include <memory>
#include <optional>
#include <vector>

#include "base/Subscription.h"
#include "platform/x11/XcbConnection.h"
#include "ports/KeySynthesizer.h"

struct xkb_context;
struct xkb_keymap;

namespace quillmere {

// Keys through the XTEST extension. The keymap is read anew when the server says that it changed. Main thread.
class X11KeySynthesizer final : public KeySynthesizer {
 public:
  // An empty name means the variable DISPLAY. An error when the server lacks XTEST or XKB.
  static Result<std::unique_ptr<X11KeySynthesizer>, PlatformError> open(const QString& displayName = {});
  ~X11KeySynthesizer() override;

  bool isAvailable() const override;
  std::optional<int> keyCodeForLetter(QChar letter) override;
  Result<void, PlatformError> press(int keyCode, Modifier modifier) override;
  Result<void, PlatformError> press(NamedKey key, Modifier modifier) override;

 private:
  explicit X11KeySynthesizer(std::unique_ptr<XcbConnection> connection);
  bool loadKeymap();
  void reloadIfChanged();
  // Current layout first; without modifiers.
  std::optional<int> keyCodeForSymbol(uint32_t symbol) const;
  std::vector<int> heldModifiers() const;
  void fake(uint8_t kind, int keyCode);

  std::unique_ptr<XcbConnection> connection_;
  xkb_context* context_ = nullptr;
  xkb_keymap* keymap_ = nullptr;
  bool isKeymapStale_ = false;
  Subscription events_;
};

}  // namespace quillmere
