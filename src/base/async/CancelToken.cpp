#include "base/async/CancelToken.h"

#include <cstdint>
#include <map>

namespace quillmere {
namespace detail {

struct CancelState {
  bool isCancelled = false;
  std::uint64_t nextNumber = 1;
  std::map<std::uint64_t, std::function<void()>> functions;
};

}  // namespace detail

bool CancelToken::isCancelled() const {
  return state_ && state_->isCancelled;
}

Subscription CancelToken::onCancel(std::function<void()> function) const {
  if (!state_) return {};
  if (state_->isCancelled) {
    function();
    return {};
  }
  const auto number = state_->nextNumber++;
  state_->functions.emplace(number, std::move(function));
  return Subscription([weak = std::weak_ptr(state_), number] {
    if (const auto state = weak.lock()) state->functions.erase(number);
  });
}

CancelSource::CancelSource() : state_(std::make_shared<detail::CancelState>()) {}

bool CancelSource::isCancelled() const {
  return state_->isCancelled;
}

void CancelSource::cancel() {
  const auto state = state_;  // a function may destroy the source
  if (std::exchange(state->isCancelled, true)) return;
  while (!state->functions.empty()) {
    auto first = state->functions.extract(state->functions.begin());
    first.mapped()();
  }
}

}  // namespace quillmere
