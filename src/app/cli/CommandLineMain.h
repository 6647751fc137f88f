#pragma once

namespace quillmere {

// The command line's main function behind the quick answers: starts Qt, loads the texts, parses and runs one command.
int commandLineMain(int argc, char** argv);

}  // namespace quillmere
