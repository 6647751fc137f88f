#pragma once
#include <map>
#include <memory>

#include "base/Subscription.h"

namespace quillmere {

// Who observes something of a fake; an observer may end any subscription, and subscriptions may outlive it. One thread.
template <typename... Arguments>
class FakeObservers {
 public:
  using Observer = std::function<void(Arguments...)>;

  Subscription add(Observer observer) {
    const int id = ++lastId_;
    observers_->emplace(id, std::move(observer));
    return Subscription([observers = observers_, id] { observers->erase(id); });
  }
  void tell(Arguments... arguments) const {
    const auto observers = *observers_;
    for (const auto& [id, observer] : observers)
      if (observers_->contains(id)) observer(arguments...);
  }
  size_t count() const { return observers_->size(); }

 private:
  std::shared_ptr<std::map<int, Observer>> observers_ = std::make_shared<std::map<int, Observer>>();
  int lastId_ = 0;
};

}  // namespace quillmere
