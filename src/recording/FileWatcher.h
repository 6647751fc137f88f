#pragma once
#include <QString>

#include "base/Result.h"
#include "base/async/Executor.h"
#include "base/async/Task.h"
#include "base/log/Logger.h"
#include "domain/Errors.h"
#include "ports/ErrorReporting.h"
#include "ports/FileEvents.h"

namespace quillmere {

// Waits until something stands in a file. Holds no state. Main thread.
class FileWatcher {
 public:
  FileWatcher(FileEvents& events, ErrorReporting* reporting, const Logging& logging);

  // Up to two seconds for the file to appear, then up to `timeout` for the first write. Returns at once for a file that
  // has a size. A cancel drops the watch.
  Task<Result<void, FileWatcherError>> waitForFirstWrite(QString path, Duration timeout);

 private:
  void leaveBreadcrumb(const QString& message, ReportLevel level, const QVariantMap& data);

  FileEvents& events_;
  ErrorReporting* reporting_;
  Logger log_;
};

}  // namespace quillmere
