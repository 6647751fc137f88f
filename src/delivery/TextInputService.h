#pragma once
#include "base/async/Task.h"
#include "base/log/Logger.h"
#include "delivery/PasteCommand.h"

namespace quillmere {

// Pastes one short piece of text where the keyboard is, and gives the plain text of the clipboard back at once. For
// live dictation. Main thread. True when the target took the text. Password fields get nothing. A cancel still gives
// the clipboard back.
class TextInputService {
 public:
  TextInputService(Pasteboard& pasteboard, KeySynthesizer& keys, Workspace& workspace, Accessibility& accessibility,
                   const Logging& logging);
  Task<bool> pasteText(QString text);

 private:
  Task<bool> lendClipboard(QString text, std::optional<QString> previous);

  Pasteboard& pasteboard_;
  KeySynthesizer& keys_;
  Accessibility& accessibility_;
  Logger logger_;
  LentSelection selection_;
  PasteCommand command_;
};

}  // namespace quillmere
