#pragma once
#include <atomic>
#include <functional>
#include <memory>
#include <optional>

#include "base/async/Executor.h"
#include "base/log/Logger.h"
#include "ports/Accessibility.h"

namespace quillmere {

class AtspiThread;

// The accessibility bus of a Linux desktop session. One thread of its own talks to the bus; it speaks the bus protocol
// itself, because every single call needs a time limit: a program that hangs costs a visit a part of its limit once, is
// left out for the rest of that visit, and gets a short limit only in the next two seconds. So that thread never hangs
// and visits simply queue one after the other. Without a bus nothing is trusted; it is looked for again, at most once a
// second, whenever somebody asks.
class AtspiAccessibility final : public Accessibility {
 public:
  struct Options {
    // The process whose window has the keyboard; called on the main thread when a visit begins. Without it, or for a
    // process that the bus doesn't know (a sandbox), the window that calls itself active decides.
    std::function<std::optional<qint64>()> frontmostProcessId;
  };

  AtspiAccessibility(Executor& executor, Options options, const Logging& logging);
  // Waits for the call under way (a fraction of a second at most).
  ~AtspiAccessibility() override;

  // Connects in the background. isTrusted() and visit() do it too, when it wasn't done before.
  void start();

  bool isTrusted() const override;
  Task<bool> visit(std::function<void(AccessibilityTree&)> work, Duration limit) override;

 private:
  AtspiThread& thread() const;

  Executor& executor_;
  Options options_;
  Logging logging_;
  mutable std::unique_ptr<AtspiThread> thread_;
};

}  // namespace quillmere
