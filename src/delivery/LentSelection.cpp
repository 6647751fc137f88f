#include "delivery/LentSelection.h"

#include <utility>

namespace quillmere {
namespace {

constexpr std::chrono::milliseconds readLimit{300};

}  // namespace

Task<bool> LentSelection::lend(QString text) {
  if (!isLent()) {
    isLent_ = false;
    const auto reading = co_await withTimeout(readLimit, pasteboard_.selectionString());
    displaced_ = reading.value_or(std::nullopt);
  }
  isLent_ = pasteboard_.writeSelection(text);
  co_return isLent_;
}

void LentSelection::giveBack() {
  const auto displaced = std::exchange(displaced_, std::nullopt);
  if (isLent()) pasteboard_.writeSelection(displaced);
  isLent_ = false;
}

}  // namespace quillmere
