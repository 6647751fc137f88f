#pragma once
#include "ports/Workspace.h"

namespace quillmere {

// Stands behind the port where there is no display. Recording and transcribing work without one.
class AbsentWorkspace final : public Workspace {
 public:
  std::optional<RunningApplication> frontmostApplication() const override { return std::nullopt; }
  std::optional<RunningApplication> find(const RunningApplication&) const override { return std::nullopt; }
  bool activate(const RunningApplication&) override { return false; }
  void hideThisApplication() override {}
  Subscription observeFrontmost(std::function<void()>) override { return {}; }
  Subscription observeTyping(std::function<void(const RunningApplication&)>) override { return {}; }
  Subscription observeLaunches(std::function<void(const RunningApplication&)>) override { return {}; }
  bool forceTerminate(qint64) override { return false; }
};

}  // namespace quillmere
