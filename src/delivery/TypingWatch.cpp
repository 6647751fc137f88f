#include "delivery/TypingWatch.h"

#include <algorithm>

namespace quillmere {

TypingWatch::TypingWatch(Workspace& workspace, std::function<bool()> isOurs)
    : typing_(workspace.observeTyping([this, isOurs = std::move(isOurs)](const RunningApplication& window) {
        if (!isOurs() && !hasTypedIn(window)) windows_.push_back(window);
      })) {}

bool TypingWatch::hasTypedIn(const RunningApplication& window) const {
  return std::any_of(windows_.begin(), windows_.end(),
                     [&](const RunningApplication& one) { return isSameWindow(one, window); });
}

}  // namespace quillmere
