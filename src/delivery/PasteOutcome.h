#pragma once

namespace quillmere {

// How a paste ended.
enum class PasteOutcome {
  none,            // there was nothing to paste
  pasted,          // the target took the text
  notFetched,      // the keystroke was sent and nobody asked for the text
  noTarget,        // what has the keyboard takes no text, or the target did not come to the front
  targetGone,      // the window is closed
  typedElsewhere,  // the user is in another window and types there: nothing was moved, nothing sent
  secureField,     // a password field has the keyboard
  noPermission,    // as notFetched, where other programs can't be read at all
  cancelled,
  failed
};

// What the user presses to paste the clipboard himself.
enum class PasteKeys { controlV, shiftInsert };

}  // namespace quillmere
