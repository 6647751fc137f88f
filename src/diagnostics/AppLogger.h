#pragma once
#include <QVariantMap>
#include <functional>
#include <optional>
#include <variant>

#include "base/Clock.h"
#include "base/log/Logger.h"
#include "diagnostics/LogCategory.h"
#include "ports/DeploymentValues.h"
#include "ports/ErrorReporting.h"
#include "ports/LogArchive.h"

namespace quillmere {

// The application's diagnostics: log lines of the shared operations, and the road of an error to the crash reporter.
// Any thread, as long as the functions it was given are. captureError reads the log files when it attaches them: keep
// it off paths that must be fast. What it is given must outlive it.
class AppLogger final : public ErrorReporting {
 public:
  struct CoreDataOperation {
    struct Fetch {
      QString entity;
      qint64 count = 0;
    };
    struct Delete {
      QString entity;
    };
    struct Migration {
      QString from, to;
    };
    struct Save {};
    struct StoreLoad {};
    std::variant<Fetch, Delete, Migration, Save, StoreLoad> kind;
  };
  struct TranscriptionOperation {
    struct Started {
      QString mode;
      double durationSeconds = 0;
    };
    struct Completed {
      qint64 words = 0;
      double timeSeconds = 0;
    };
    struct Failure {
      AnyError error;
    };
    struct ModelLoaded {
      QString name;
    };
    struct ApiCall {
      QString provider;
      int status = 0;
    };
    std::variant<Started, Completed, Failure, ModelLoaded, ApiCall> kind;
  };

  // `isErrorLoggingEnabled` reads the user's "enableErrorLogging"; `randomUnit` draws from [0, 1).
  AppLogger(Logging logging, CrashReporter& crashReporter, const LogArchive& archive, const Clock& clock,
            std::function<bool()> isErrorLoggingEnabled, std::function<double()> randomUnit);

  Logger logger(LogCategory category) const;

  void logCoreData(const CoreDataOperation& operation, const std::optional<AnyError>& error = std::nullopt);
  void logAudio(const QString& message, const std::optional<AnyError>& error = std::nullopt,
                const std::optional<QVariantMap>& metadata = std::nullopt);
  void logTranscription(const TranscriptionOperation& operation,
                        const std::optional<QVariantMap>& metadata = std::nullopt);

  // The scrubbed log of the last minutes, at most its last `maxLines` lines. No value when the log can't be read.
  std::optional<QString> recentLogs(int minutes, int maxLines) const;

  // Starts the crash reporter, unless there is no DSN. The caller tests isEnabled() first: at launch, and after an
  // import of settings that leaves it on.
  void startCrashReporting(const DeploymentValues& deployment);

  bool isEnabled() const override;
  void captureError(const AnyError& error, const ReportOptions& options) override;
  // Leaves nothing while the user's setting is off.
  void addBreadcrumb(const Breadcrumb& breadcrumb) override;
  // The category becomes a tag of the event, the data its extra data. Nothing is attached.
  void captureMessage(const QString& message, const QString& category, ReportLevel level,
                      const QVariantMap& data) override;

 private:
  void logMetadata(const Logger& log, const std::optional<QVariantMap>& metadata) const;

  Logging logging_;
  CrashReporter& crashReporter_;
  const LogArchive& archive_;
  const Clock& clock_;
  std::function<bool()> isErrorLoggingEnabled_;
  std::function<double()> randomUnit_;
};

}  // namespace quillmere
