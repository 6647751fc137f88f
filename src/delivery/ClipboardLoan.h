#pragma once
#include <optional>
#include <utility>

#include "domain/ClipboardItemData.h"

namespace quillmere {

// What the user's clipboard held when a dictation asked for it, to be given back after its paste. It goes with its
// dictation; one that pasted nothing leaves everything as it is.
class ClipboardLoan {
 public:
  ClipboardLoan(ClipboardItems items, quint64 changeCount) : items_(std::move(items)), changeCount_(changeCount) {}

  // Once, and only if the clipboard is still at that count; nothing otherwise.
  std::optional<ClipboardItems> take(quint64 changeCount) {
    if (changeCount != changeCount_) return std::nullopt;
    return std::exchange(items_, std::nullopt);
  }

 private:
  std::optional<ClipboardItems> items_;
  const quint64 changeCount_;
};

}  // namespace quillmere
