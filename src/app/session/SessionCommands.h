#pragma once
#include "app/cli/Commands.h"

namespace quillmere {

// Commands that need the sound server or the display. Each gives the process's exit code.
// A cancel throws the recording away: no file, no row. What is cancelled while it is transcribed stays in the history.
Task<int> runDictate(CommandContext context, DictateOptions options);
Task<int> runDoctor(CommandContext context, DoctorOptions options);

}  // namespace quillmere
