#pragma once
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "delivery/ClipboardLoan.h"
#include "delivery/PasteOutcome.h"
#include "delivery/TypingWatch.h"
#include "domain/ProcessedTag.h"
#include "ports/Workspace.h"

namespace quillmere {

struct PasteRequest {
  QString text;
  std::vector<ProcessedTag> tags;
  std::optional<RunningApplication> target;   // without one the text goes to whatever is in front
  std::shared_ptr<const TypingWatch> typing;  // without one nobody asks where the user types
  std::shared_ptr<ClipboardLoan> clipboard;   // without one the clipboard is read when the text takes its place
  // Told before the paste ends without success: the keys that paste the text where the keyboard is then.
  std::function<void(PasteKeys)> onLeft;
};

}  // namespace quillmere
