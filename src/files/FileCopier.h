#pragma once
#include <QString>
#include <filesystem>

#include "base/Result.h"
#include "domain/Errors.h"

#include <atomic>

namespace quillmere {

// Copies `from` to the new file `to` in chunks and syncs it. Blocks; meant for a worker thread. A set `stop` ends it
// early. A failed or stopped copy leaves nothing at `to`; a file that already stands there is never touched (code
// EEXIST).
Result<void, PlatformError> copyFile(const std::filesystem::path& from, const QString& to,
                                     const std::atomic<bool>& stop);

}  // namespace quillmere
