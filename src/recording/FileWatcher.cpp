#include "recording/FileWatcher.h"

#include <QFileInfo>

#include "base/async/Combinators.h"
#include "base/async/Completion.h"

namespace quillmere {
namespace {

constexpr int appearanceChecks = 20;
constexpr std::chrono::milliseconds appearanceInterval{100};

}  // namespace

FileWatcher::FileWatcher(FileEvents& events, ErrorReporting* reporting, const Logging& logging)
    : events_(events), reporting_(reporting), log_(logging.logger(QStringLiteral("FileWatcher"))) {}

void FileWatcher::leaveBreadcrumb(const QString& message, ReportLevel level, const QVariantMap& data) {
  if (reporting_ && reporting_->isEnabled())
    reporting_->addBreadcrumb({message, QStringLiteral("audio.fileWatcher"), level, data});
}

Task<Result<void, FileWatcherError>> FileWatcher::waitForFirstWrite(QString path, Duration timeout) {
  const auto isWritten = [&path] { return QFileInfo(path).size() > 0; };

  for (int check = 1; !QFileInfo::exists(path); ++check) {
    if (check == appearanceChecks) {
      log_.error("FileWatcher: File was not created in time at %{public}s", path);
      leaveBreadcrumb(QStringLiteral("File watcher missing file"), ReportLevel::warning,
                      {{QStringLiteral("path"), path}});
      co_return Failed{FileWatcherError::fileNotCreated};
    }
    co_await sleepFor(appearanceInterval);
  }
  if (isWritten()) {
    log_.info("File already exists and has size > 0, skipping wait.");
    co_return Result<void, FileWatcherError>();
  }

  Completion<void> written;
  const auto watch = events_.watch(path, [written]() mutable { written.resolve(); });
  if (!watch) {
    log_.error("FileWatcher: Failed to open file descriptor for %{public}s", path);
    leaveBreadcrumb(QStringLiteral("File watcher failed to open descriptor"), ReportLevel::error,
                    {{QStringLiteral("path"), path}});
    co_return Failed{FileWatcherError::failedToOpenFileDescriptor};
  }
  log_.info("FileWatcher: Started watching %{public}s", path);
  // A write between the look at the size and the watch would never be told.
  if (isWritten()) written.resolve();
  const bool isInTime = co_await withTimeout(timeout, written.wait());
  if (isInTime) {
    log_.info("FileWatcher: Received write event for %{public}s", path);
    co_return Result<void, FileWatcherError>();
  }
  log_.error("FileWatcher: Timed out waiting for write event on %{public}s", path);
  leaveBreadcrumb(QStringLiteral("File watcher timeout"), ReportLevel::warning,
                  {{QStringLiteral("path"), path},
                   {QStringLiteral("timeoutSeconds"), std::chrono::duration<double>(timeout).count()}});
  co_return Failed{FileWatcherError::timeout};
}

}  // namespace quillmere
