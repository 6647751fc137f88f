#pragma once
#include <functional>

#include "domain/ModifierKey.h"

namespace quillmere {

// One raw event of the keyboard, of whatever window.
struct ModifierEvent {
  enum class Kind {
    keyDown,       // an ordinary key
    flagsChanged,  // a modifier went down or up
  };
  Kind kind = Kind::flagsChanged;
  unsigned flags = 0;  // modifierFlags (domain/ModifierKey.h) as they are after the event
  bool operator==(const ModifierEvent&) const = default;
};

// Watches the keyboard without taking anything from anybody. Main thread; events come in their order.
class KeyEventMonitor {
 public:
  virtual ~KeyEventMonitor() = default;
  // False where the platform does not let this process watch.
  virtual bool start(std::function<void(const ModifierEvent&)> observer) = 0;
  virtual void stop() = 0;
  // Delivers before it returns what has already happened, keystrokes sent by this program among it.
  virtual void catchUp() {}
  // False where no key of this keyboard can give that modifier; it can then never be seen to go down.
  virtual bool canSee(ModifierKey) const { return true; }
};

}  // namespace quillmere
