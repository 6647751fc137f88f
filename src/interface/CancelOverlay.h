#pragma once
#include <functional>

namespace quillmere {

// The two keys of the question "Cancel?", as the dialog asks for them. Main thread.
class CancelOverlay {
 public:
  virtual ~CancelOverlay() = default;
  // False when the keys of other windows can't be had.
  virtual bool startCancelOverlay(std::function<void()> onReturn, std::function<void()> onEscape) = 0;
  virtual void stopCancelOverlay() = 0;
};

}  // namespace quillmere
