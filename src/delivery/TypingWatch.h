#pragma once
#include <functional>
#include <vector>

#include "base/Subscription.h"
#include "ports/Workspace.h"

namespace quillmere {

// The windows that the user has typed into since a dictation began. It belongs to the dictation. Main thread.
class TypingWatch {
 public:
  // Keys that come while `isOurs` are this program's own. The workspace outlives the watch.
  TypingWatch(Workspace& workspace, std::function<bool()> isOurs);
  TypingWatch(const TypingWatch&) = delete;
  TypingWatch& operator=(const TypingWatch&) = delete;
  bool hasTypedIn(const RunningApplication& window) const;

 private:
  std::vector<RunningApplication> windows_;
  Subscription typing_;
};

}  // namespace quillmere
