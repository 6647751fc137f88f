#pragma once
#include <xkbcommon/xkbcommon.h>

#include <QObject>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/Result.h"
#include "platform/x11/XcbConnection.h"

namespace quillmere {

// The layouts of the keyboard and the one that is on. Follows changes by itself. Main thread; the connection outlives
// it.
class XkbKeyboard {
 public:
  struct Key {
    xcb_keycode_t code = 0;
    bool needsShift = false;
    bool operator==(const Key&) const = default;
  };
  // Bits of the state of key events and grabs.
  struct Masks {
    uint16_t alt = XCB_MOD_MASK_1;
    uint16_t super = XCB_MOD_MASK_4;
    uint16_t numLock = XCB_MOD_MASK_2;
    bool operator==(const Masks&) const = default;
  };

  static Result<std::unique_ptr<XkbKeyboard>, PlatformError> open(XcbConnection& connection);
  XkbKeyboard(const XkbKeyboard&) = delete;
  XkbKeyboard& operator=(const XkbKeyboard&) = delete;
  ~XkbKeyboard();

  // Called from the event loop after the layouts or the one that is on have changed.
  void setOnChanged(std::function<void()> onChanged) { onChanged_ = std::move(onChanged); }

  // The keys that give the symbol: on the layout that is on, else on the first other one that has it, else where a US
  // keyboard has it. Keys that give it without Shift before those that need it, of which one is enough.
  std::vector<Key> keysFor(xkb_keysym_t symbol);
  // The same without the US keyboard: no key when no layout has the symbol.
  std::vector<Key> keysOnLayoutsFor(xkb_keysym_t symbol);
  // What the key gives without modifiers. XKB_KEY_NoSymbol for a key without a meaning.
  xkb_keysym_t plainSymbol(xcb_keycode_t code);
  // The same by which a combination is written down: what keysFor() finds again, in Latin letters where the layout that
  // is on has others.
  xkb_keysym_t latinSymbol(xcb_keycode_t code);
  // What the key gives without modifiers on the first layout: modifiers sit there.
  xkb_keysym_t baseSymbol(xcb_keycode_t code);
  Masks masks();
  // Switches Caps Lock off where it is on, as its key would. Doesn't wait.
  void unlockCapitals();

 private:
  using Context = std::unique_ptr<xkb_context, decltype(&xkb_context_unref)>;
  using Keymap = std::unique_ptr<xkb_keymap, decltype(&xkb_keymap_unref)>;

  XkbKeyboard(XcbConnection& connection, int32_t device, uint8_t firstEvent);
  bool load();
  void loadMasks();
  void refresh();
  void onEvent(const xcb_generic_event_t& event);
  void announce();
  xkb_keymap* unitedStates();

  XcbConnection& connection_;
  const int32_t device_;
  const uint8_t firstEvent_;
  Context context_;
  Keymap keymap_;
  Keymap unitedStates_;
  bool hasUnitedStates_ = true;
  xkb_layout_index_t layout_ = 0;
  Masks masks_;
  bool isStale_ = false;
  bool isAnnounced_ = false;
  std::function<void()> onChanged_;
  Subscription events_;
  QObject receiver_;
};

}  // namespace quillmere
