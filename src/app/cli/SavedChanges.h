#pragma once
#include "app/cli/CommandContext.h"

namespace quillmere {

// The end of a command that changed the store: waits until everything is written, and tells the person where it can't
// be. Gives the process's exit code.
Task<int> exitWhenSaved(CommandContext context);

}  // namespace quillmere
