#pragma once
#include <deque>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "base/Subscription.h"

namespace quillmere {

// An observable value. Observers run on the setting thread (the main thread everywhere), each sees every value in order:
// a value set while observers are being told is queued behind the one under way. Setting an equal value tells nobody.
template <typename T>
class Published {
 public:
  Published() : shared_(std::make_shared<Shared>()) {}
  explicit Published(T value) : Published() { shared_->value = std::move(value); }
  Published(const Published&) = delete;
  Published& operator=(const Published&) = delete;

  const T& get() const { return shared_->value; }

  void set(T value) {
    const auto shared = shared_;  // an observer may destroy the owner
    if (shared->isTelling) {
      shared->waiting.push_back(std::move(value));
      return;
    }
    shared->isTelling = true;
    shared->waiting.push_back(std::move(value));
    while (!shared->waiting.empty()) {
      T next = std::move(shared->waiting.front());
      shared->waiting.pop_front();
      if (next == shared->value) continue;
      shared->value = std::move(next);
      const T told = shared->value;
      const auto observers = shared->observers;
      for (const auto& observer : observers)
        if (*observer) (*observer)(told);
    }
    shared->isTelling = false;
  }

  [[nodiscard]] Subscription observe(std::function<void(const T&)> observer) {
    auto entry = std::make_shared<std::function<void(const T&)>>(std::move(observer));
    shared_->observers.push_back(entry);
    std::weak_ptr<Shared> weak = shared_;
    return Subscription([weak, entry] {
      if (auto shared = weak.lock()) std::erase(shared->observers, entry);
      *entry = nullptr;
    });
  }

 private:
  struct Shared {
    T value{};
    std::vector<std::shared_ptr<std::function<void(const T&)>>> observers;
    std::deque<T> waiting;
    bool isTelling = false;
  };
  std::shared_ptr<Shared> shared_;
};

}  // namespace quillmere
