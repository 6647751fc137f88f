#pragma once
#include <bitset>

#include "platform/x11/RawKeyEvents.h"
#include "platform/x11/XcbConnection.h"
#include "platform/x11/XkbKeyboard.h"
#include "ports/KeyEventMonitor.h"

namespace quillmere {

// KeyEventMonitor by the raw events of XInput 2: they come whoever has the keyboard, also while another program grabs
// it, and without repetitions. Keystrokes that programs send are among them. Main thread.
// A watched key without a meaning in a chord is taken by a passive grab; where another program has it, both see it. A
// watched Caps Lock is unlocked as soon as it locks, so that its light may flash. A server that dies only means that no
// more events come; the next start() connects anew.
class X11KeyEventMonitor final : public KeyEventMonitor {
 public:
  // An empty name means the variable DISPLAY.
  explicit X11KeyEventMonitor(QString displayName = {});
  ~X11KeyEventMonitor() override;

  bool start(ModifierKey key, std::function<void(const ModifierEvent&)> observer) override;
  void stop() override;
  void catchUp() override;
  // True without a display, too: what keyboard there will be is not known.
  bool canSee(ModifierKey key) const override;

 private:
  bool connect() const;
  void takeKey();
  void releaseKey();
  void readKeysDown();
  void onEvent(const xcb_generic_event_t& event);
  void onKeyboardChanged();
  unsigned flags() const;
  unsigned flagsOf(xcb_keycode_t code) const;
  bool isWatched(xcb_keycode_t code) const;
  void emit(ModifierEvent::Kind kind);

  const QString displayName_;
  mutable std::unique_ptr<XcbConnection> connection_;
  mutable std::unique_ptr<XkbKeyboard> keyboard_;
  mutable std::optional<RawKeyEvents> rawKeys_;
  std::unique_ptr<XcbConnection> taking_;  // has the watched key
  std::vector<xcb_keycode_t> taken_;
  ModifierKey key_ = ModifierKey::control;
  std::bitset<256> keysDown_;
  unsigned lastFlags_ = 0;
  std::function<void(const ModifierEvent&)> observer_;
  Subscription events_;
};

}  // namespace quillmere
