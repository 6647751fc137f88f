#pragma once
#include <QString>

#include "delivery/PasteOutcome.h"

namespace quillmere {

// "Ctrl+V", as the keys are written in the user's language.
QString pasteKeysText(PasteKeys keys);
// For a text that was not pasted: where it is, and what the user presses for it.
QString pasteNotice(bool isOnClipboard, PasteKeys keys);

}  // namespace quillmere
