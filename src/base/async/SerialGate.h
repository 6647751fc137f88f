#pragma once
#include <deque>
#include <memory>

#include "base/async/Completion.h"
#include "base/async/Task.h"

namespace quillmere {

// Lets one task at a time through, in the order of arrival. Main thread. A cancelled waiter leaves the queue.
class SerialGate {
 public:
  // Holds the gate until it goes away. Outliving the gate is fine.
  class Pass {
   public:
    Pass() = default;
    Pass(Pass&&) noexcept = default;
    Pass& operator=(Pass&& other) noexcept;
    ~Pass();

   private:
    friend class SerialGate;
    struct Shared;
    explicit Pass(std::shared_ptr<Shared> shared) : shared_(std::move(shared)) {}
    void leave();
    std::shared_ptr<Shared> shared_;
  };

  SerialGate();
  Task<Pass> enter();

 private:
  std::shared_ptr<Pass::Shared> shared_;
};

}  // namespace quillmere
