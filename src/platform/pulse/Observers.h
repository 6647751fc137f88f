#pragma once
#include <functional>
#include <memory>
#include <vector>

#include "base/Subscription.h"

namespace quillmere {

// Who wants to hear of something. An observer may end its own or another subscription while it is told, and destroy the
// list. One thread.
template <typename... A>
class Observers {
 public:
  [[nodiscard]] Subscription add(std::function<void(A...)> function) {
    auto entry = std::make_shared<Entry>(Entry{std::move(function), true});
    entries_->push_back(entry);
    return Subscription([weak = std::weak_ptr<Entries>(entries_), entry] {
      entry->isActive = false;
      if (const auto entries = weak.lock()) std::erase(*entries, entry);
    });
  }
  void tell(A... arguments) {
    const std::weak_ptr<Entries> alive = entries_;
    for (const auto& entry : Entries(*entries_)) {
      if (entry->isActive) entry->function(arguments...);
      if (alive.expired()) return;
    }
  }

 private:
  struct Entry {
    std::function<void(A...)> function;
    bool isActive;
  };
  using Entries = std::vector<std::shared_ptr<Entry>>;
  std::shared_ptr<Entries> entries_ = std::make_shared<Entries>();
};

}  // namespace quillmere
