#include "delivery/LentSelection.h"

#include <utility>

namespace quillmere {
namespace {

constexpr std::chrono::milliseconds readLimit{300};

}  // namespace

Task<bool> LentSelection::lend(QString text) {
  if (!isLent()) {
    text_.reset();
    const auto reading = co_await withTimeout(readLimit, pasteboard_.selectionString());
    displaced_ = reading.value_or(std::nullopt);
  }
  const bool isWritten = pasteboard_.writeSelection(text);
  if (isWritten) text_ = std::move(text);
  co_return isWritten;
}

void LentSelection::giveBack() {
  const auto displaced = std::exchange(displaced_, std::nullopt);
  if (isLent()) pasteboard_.writeSelection(displaced);
  text_.reset();
}

}  // namespace quillmere
