#pragma once
#include <functional>

#include "domain/ModifierKey.h"

namespace quillmere {

// One raw event of keyboard or mouse, of whatever window.
struct ModifierEvent {
  enum class Kind {
    keyDown,       // an ordinary key
    buttonDown,    // a button of the mouse, or a step of its wheel
    flagsChanged,  // a modifier or the watched key went down or up
  };
  Kind kind = Kind::flagsChanged;
  unsigned flags = 0;  // modifierFlags (domain/ModifierKey.h) as they are after the event
  bool operator==(const ModifierEvent&) const = default;
};

// Watches one key, and what else is pressed meanwhile. Modifiers are taken from nobody; a key without a meaning in a
// chord (isNoChordKey) is kept from other programs while it is watched, where the platform can, and Caps Lock locks
// nothing. Main thread; events come in their order.
class KeyEventMonitor {
 public:
  virtual ~KeyEventMonitor() = default;
  // False where the platform does not let this process watch.
  virtual bool start(ModifierKey key, std::function<void(const ModifierEvent&)> observer) = 0;
  virtual void stop() = 0;
  // Delivers before it returns what has already happened, keystrokes sent by this program among it.
  virtual void catchUp() {}
  // False where this keyboard has no such key; it can then never be seen to go down.
  virtual bool canSee(ModifierKey) const { return true; }
};

}  // namespace quillmere
