#pragma once
#include <memory>
#include <utility>

#include "base/async/Executor.h"

namespace quillmere {

// Tells functions that are called later whether their owner is still there. A member of the owner, declared last, so
// that it ends before what the functions use. Made, ended and guarded calls made on the owner's thread; a later() may
// be called on any thread.
class Lifetime {
 public:
  // Outlives the owner. Copies are cheap.
  class Watch {
   public:
    bool isOver() const { return alive_.expired(); }

   private:
    friend class Lifetime;
    explicit Watch(const std::shared_ptr<char>& alive) : alive_(alive) {}
    std::weak_ptr<char> alive_;
  };

  Lifetime() = default;
  Lifetime(const Lifetime&) = delete;
  Lifetime& operator=(const Lifetime&) = delete;

  // For owners whose destructors still do something.
  void end() { alive_.reset(); }

  // For loops that call out: what is called may destroy the owner.
  Watch watch() const { return Watch(alive_); }

  // Calls `function` with the same arguments, and does nothing once the owner is gone.
  template <typename F>
  auto guard(F function) const {
    return [watch = watch(), function = std::move(function)]<typename... A>(A&&... arguments) mutable {
      if (!watch.isOver()) function(std::forward<A>(arguments)...);
    };
  }

  // Calls it in a later turn. The executor outlives the owner.
  template <typename F>
  void post(Executor& executor, F function) const {
    executor.post(guard(std::move(function)));
  }

  // Each call of what this gives runs `function` in a later turn. Without arguments.
  template <typename F>
  auto later(Executor& executor, F function) const {
    return [&executor, watch = watch(), function = std::move(function)] {
      if (watch.isOver()) return;
      executor.post([watch, function]() mutable {
        if (!watch.isOver()) function();
      });
    };
  }

 private:
  std::shared_ptr<char> alive_ = std::make_shared<char>();
};

}  // namespace quillmere
