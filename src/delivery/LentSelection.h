#pragma once
#include <QString>
#include <optional>

#include "base/async/Async.h"
#include "ports/Pasteboard.h"

namespace quillmere {

// The selection that Shift+Insert pastes from, while it carries a text of ours. Main thread.
class LentSelection {
 public:
  explicit LentSelection(Pasteboard& pasteboard) : pasteboard_(pasteboard) {}

  // Puts the text in the place of what is marked, which is read before (up to 300 ms; an owner that takes longer gets
  // an empty selection back). False when the selection can't be had.
  Task<bool> lend(QString text);
  bool isLent() const { return text_ && pasteboard_.ownsSelection(); }
  bool holds(const QString& text) const { return isLent() && text_ == text; }
  // What was marked before, if nobody has marked something since.
  void giveBack();

 private:
  Pasteboard& pasteboard_;
  std::optional<QString> text_;  // of ours
  std::optional<QString> displaced_;
};

}  // namespace quillmere
