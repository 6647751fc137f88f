#pragma once
#include <memory>
#include <vector>

#include "base/async/Async.h"
#include "base/log/Logger.h"
#include "delivery/ClipboardKeeper.h"
#include "delivery/PasteCommand.h"
#include "delivery/PasteSegment.h"
#include "ports/KeySynthesizer.h"
#include "ports/Pasteboard.h"

namespace quillmere {

// Pastes a text piece by piece into an editor whose completion turns file references into mentions. Main thread. A
// cancel stops before the next piece and throws Cancelled.
class SegmentedPaste {
 public:
  SegmentedPaste(ClipboardKeeper& keeper, PasteCommand& command, Pasteboard& pasteboard, KeySynthesizer& keys,
                 const Logging& logging);

  // The loan is taken at the first piece. True when the target took every piece; the last one is left on the clipboard.
  Task<bool> paste(std::vector<PasteSegment> segments, std::shared_ptr<ClipboardLoan> loan);

 private:
  struct Piece;
  Task<bool> pasteFileReference(const Piece& piece);
  Task<bool> pasteOne(QString text, std::shared_ptr<ClipboardLoan> loan);

  ClipboardKeeper& keeper_;
  PasteCommand& command_;
  Pasteboard& pasteboard_;
  KeySynthesizer& keys_;
  Logger logger_;
};

}  // namespace quillmere
