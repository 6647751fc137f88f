#pragma once
#include <array>

#include "domain/RawValue.h"

namespace quillmere {

// Where the gesture on a bare modifier key stands.
enum class MonitorState {
  idle,
  waitingForActivation,  // the key is down, not yet long enough
  pttActive,             // records while held, or within the window of a quick tap
  latchActive,           // records without the key
  unlatchPending,        // locked, one tap of the unlocking two seen or under way
};
template <>
struct RawValues<MonitorState> {
  using E = MonitorState;
  static constexpr std::array values{std::pair{E::idle, "idle"},
                                     std::pair{E::waitingForActivation, "waitingForActivation"},
                                     std::pair{E::pttActive, "pttActive"}, std::pair{E::latchActive, "latchActive"},
                                     std::pair{E::unlatchPending, "unlatchPending"}};
};

}  // namespace quillmere
