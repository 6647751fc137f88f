#pragma once

namespace quillmere {

// How a paste ended.
enum class PasteOutcome {
  none,         // there was nothing to paste
  pasted,       // the target took the text
  notFetched,   // the keystroke was sent and nobody asked for the text
  noTarget,     // nothing that takes text has the keyboard
  secureField,  // a password field has it
  noPermission,
  cancelled,
  failed
};

// Whether the text waits on the clipboard for the user to paste it himself.
constexpr bool isLeftOnClipboard(PasteOutcome outcome) {
  return outcome == PasteOutcome::notFetched || outcome == PasteOutcome::noTarget ||
         outcome == PasteOutcome::secureField || outcome == PasteOutcome::noPermission;
}

}  // namespace quillmere
