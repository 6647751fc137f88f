#pragma once
#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

#include "base/Published.h"

namespace quillmere {

// Callbacks that are told about something. An observer may end any observation, and even destroy the list, while it is
// being told. One thread.
template <typename... A>
class ObserverList {
 public:
  [[nodiscard]] Subscription observe(std::function<void(A...)> observer) {
    auto entry = std::make_shared<std::function<void(A...)>>(std::move(observer));
    entries_->push_back(entry);
    return Subscription([weak = std::weak_ptr(entries_), entry] {
      if (auto entries = weak.lock()) std::erase(*entries, entry);
      *entry = nullptr;
    });
  }

  void tell(const A&... arguments) const {
    const auto entries = *entries_;
    for (const auto& entry : entries) {
      const auto observer = *entry;  // a copy: it may end itself while it runs
      if (observer) observer(arguments...);
    }
  }

 private:
  using Entry = std::shared_ptr<std::function<void(A...)>>;
  std::shared_ptr<std::vector<Entry>> entries_ = std::make_shared<std::vector<Entry>>();
};

}  // namespace quillmere
