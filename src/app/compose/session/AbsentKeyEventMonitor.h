#pragma once
#include "ports/KeyEventMonitor.h"

namespace quillmere {

// Stands behind the port where there is no display. Recording and transcribing work without one.
class AbsentKeyEventMonitor final : public KeyEventMonitor {
 public:
  bool start(ModifierKey, std::function<void(const ModifierEvent&)>) override { return false; }
  void stop() override {}
  bool canSee(ModifierKey) const override { return false; }
};

}  // namespace quillmere
