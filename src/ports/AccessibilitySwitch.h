#pragma once
#include <optional>

#include "base/async/Task.h"

namespace quillmere {

// Whether the programs of the desktop session tell others what they show. Main thread; every call ends within a second.
class AccessibilitySwitch {
 public:
  struct State {
    bool isOn = false;
    bool isScreenReaderOn = false;  // somebody needs it
    bool operator==(const State&) const = default;
  };
  virtual ~AccessibilitySwitch() = default;
  // Nothing where nobody can tell.
  virtual Task<std::optional<State>> state() = 0;
  // False when it couldn't be done.
  virtual Task<bool> turn(bool isOn) = 0;
};

}  // namespace quillmere
