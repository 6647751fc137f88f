#pragma once
#include <SQLiteCpp/SQLiteCpp.h>

#include <QString>
#include <memory>
#include <optional>

#include "base/Result.h"
#include "base/log/Logger.h"
#include "domain/Errors.h"

namespace quillmere {

// Opens the store's file (or a store in memory), creating or migrating it where needed. A file that isn't ours, is
// damaged or comes from a newer program is only looked at. The error's description is SQLite's or the system's
// sentence. Another process that opens, creates or migrates the same store at the same time is waited for.
Result<std::unique_ptr<SQLite::Database>, PlatformError> openStore(const std::optional<QString>& path,
                                                                   const Logger& log);

PlatformError storeError(const SQLite::Exception& exception);
// Another process holds the lock that was wanted.
bool isBusy(const PlatformError& error);

}  // namespace quillmere
