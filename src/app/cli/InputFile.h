#pragma once
#include <QTemporaryDir>
#include <atomic>
#include <filesystem>
#include <memory>
#include <string>

#include "app/cli/CommandContext.h"
#include "base/Result.h"

namespace quillmere {

// One input of a command: a file by the bytes that the shell gave, or standard input, kept in a temporary folder that
// goes with this object.
struct InputFile {
  std::filesystem::path path;
  QString shownName;
  std::shared_ptr<QTemporaryDir> temporary;
};

// Looks at the file: missing, a folder, unreadable or empty gives a sentence and exitInput.
Result<InputFile, CommandFailure> openInputFile(const std::string& argument);

// Copies standard input into a file. Blocks until its end; for a worker thread. `stop` ends it within 100 ms.
Result<InputFile, CommandFailure> readStandardInput(const std::atomic<bool>& stop);

}  // namespace quillmere
