#pragma once
#include <QString>

#include "app/cli/Terminal.h"
#include "app/compose/ExitCode.h"
#include "base/Result.h"
#include "base/async/Task.h"

namespace quillmere {

struct Services;

// A sentence for the person at the terminal and the number for the shell.
struct CommandFailure {
  QString message;
  ExitCode code = exitFailure;
};

// What every command gets. Everything outlives the command. `onInterrupt` may be set by a command that wants to end in
// its own way; otherwise an interrupt cancels the command's task. `onEnd` is called instead, where it is set, when not
// the user but the end of the terminal or of the machine ends the command.
struct CommandContext {
  Services& services;
  Terminal& terminal;
  std::function<void()>& onInterrupt;
  std::function<void()>& onEnd;
};

// Prints the failure and gives its number.
inline int fail(CommandContext& context, const CommandFailure& failure) {
  context.terminal.err(failure.message);
  return failure.code;
}

}  // namespace quillmere
