#pragma once
#include <optional>

#include "base/async/Task.h"
#include "ports/Pasteboard.h"

namespace quillmere {

// What a program has put on the clipboard is gone from an X server when the program ends, unless a clipboard manager
// keeps it. Where none runs, another process of this program holds it until somebody copies something else.

// To be awaited before the end of the program. Does nothing when what is on the clipboard is not ours. Returns when the
// other process has it, or after 2 s without. The contents go through anonymous memory, never through a file. Main
// thread.
Task<void> handOverClipboard(Pasteboard& pasteboard);

// The other process: main() calls this first. Nothing when the arguments ask for something else; the exit status when
// the clipboard was held and is no longer.
std::optional<int> holdClipboard(int argc, char** argv);

}  // namespace quillmere
