#pragma once
#include <memory>
#include <optional>
#include <vector>

#include "platform/x11/XcbConnection.h"
#include "platform/x11/XkbKeyboard.h"
#include "ports/KeySynthesizer.h"

namespace quillmere {

// Keys through the XTEST extension. Main thread. A server that dies lets every press fail.
class X11KeySynthesizer final : public KeySynthesizer {
 public:
  // An empty name means the variable DISPLAY. An error when the server lacks XTEST or XKB.
  static Result<std::unique_ptr<X11KeySynthesizer>, PlatformError> open(const QString& displayName = {});

  bool isAvailable() const override;
  std::optional<int> keyCodeForLetter(QChar letter) override;
  Result<void, PlatformError> press(int keyCode, Modifier modifier) override;
  Result<void, PlatformError> press(NamedKey key, Modifier modifier) override;

 private:
  X11KeySynthesizer(std::unique_ptr<XcbConnection> connection, std::unique_ptr<XkbKeyboard> keyboard);
  void catchUp();
  std::optional<xcb_keycode_t> keyCodeFor(xkb_keysym_t symbol);
  std::vector<xcb_keycode_t> heldModifiers();
  Result<void, PlatformError> stroke(xcb_keycode_t keyCode, Modifier modifier);
  void send(uint8_t kind, xcb_keycode_t keyCode);

  std::unique_ptr<XcbConnection> connection_;
  std::unique_ptr<XkbKeyboard> keyboard_;
};

}  // namespace quillmere
