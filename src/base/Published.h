#pragma once
#include <deque>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "base/OwnThread.h"
#include "base/Subscription.h"

namespace quillmere {

// An observable value of the thread that made it (the main thread everywhere). Observers run in the order they
// subscribed; each sees every value in order: a value set while observers are being told is queued after the one under
// way, and get() gives the value under way until then. Setting an equal value tells nobody. From inside an observer one
// may set, subscribe (the newcomer hears later values only), end any subscription (that observer is not called again)
// and destroy the owner (observers that are still subscribed hear what was set before).
template <typename T>
class Published {
 public:
  Published() : shared_(std::make_shared<Shared>()) {}
  explicit Published(T value) : Published() { shared_->value = std::move(value); }
  Published(const Published&) = delete;
  Published& operator=(const Published&) = delete;

  const T& get() const { return shared_->value; }

  void set(T value) {
    shared_->thread.assertCurrent();
    const auto shared = shared_;  // an observer may destroy the owner
    shared->waiting.push_back(std::move(value));
    if (shared->isTelling) return;
    const Telling telling(*shared);
    while (!shared->waiting.empty()) {
      T next = std::move(shared->waiting.front());
      shared->waiting.pop_front();
      if (next == shared->value) continue;
      shared->value = std::move(next);
      // The copy keeps observers alive that end their subscription while they run.
      const auto observers = shared->observers;
      for (const auto& observer : observers)
        if (observer->isActive) observer->function(shared->value);
    }
  }

  [[nodiscard]] Subscription observe(std::function<void(const T&)> function) {
    shared_->thread.assertCurrent();
    auto observer = std::make_shared<Observer>(Observer{std::move(function), true});
    shared_->observers.push_back(observer);
    return Subscription([weak = std::weak_ptr<Shared>(shared_), observer = std::move(observer)] {
      observer->isActive = false;
      if (const auto shared = weak.lock()) std::erase(shared->observers, observer);
    });
  }

 private:
  struct Observer {
    std::function<void(const T&)> function;
    bool isActive;
  };
  struct Shared {
    T value{};
    std::vector<std::shared_ptr<Observer>> observers;
    std::deque<T> waiting;
    bool isTelling = false;
    OwnThread thread;
  };
  struct Telling {
    explicit Telling(Shared& shared) : shared_(shared) { shared_.isTelling = true; }
    Telling(const Telling&) = delete;
    Telling& operator=(const Telling&) = delete;
    ~Telling() {
      shared_.isTelling = false;
      shared_.waiting.clear();
    }
    Shared& shared_;
  };
  std::shared_ptr<Shared> shared_;
};

}  // namespace quillmere
