#pragma once
#include <functional>

#include "app/cli/Commands.h"

namespace quillmere {

// The commands that need the sound server or the display. The program that has them is a second one, so that the others
// start without those libraries.
struct SessionCommands {
  std::function<Task<int>(CommandContext, DictateOptions)> dictate;
  std::function<Task<int>(CommandContext, DoctorOptions)> doctor;
};

// The command line's main function after the quick answers: starts Qt, loads the texts, parses and runs one command.
// Without `session` its commands are handed to the session program beside this one.
int commandLineMain(int argc, char** argv, const SessionCommands* session = nullptr);

}  // namespace quillmere
