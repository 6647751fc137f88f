#pragma once

namespace quillmere {

// What the process tells the shell. Documented in the manual page.
enum ExitCode : int {
  exitOk = 0,
  exitFailure = 1,      // the command ran and failed
  exitUsage = 2,        // unknown command or option, impossible value
  exitInput = 3,        // an input file is missing, unreadable or holds no usable sound
  exitModel = 4,        // the speech model or engine that was asked for isn't available
  exitStore = 5,        // the store can't be opened
  exitNetwork = 6,      // a download failed
  exitDiskFull = 7,     // no space is left for a model
  exitCancelled = 130,  // interrupted
};

}  // namespace quillmere
