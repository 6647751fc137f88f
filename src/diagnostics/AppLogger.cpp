#include "diagnostics/AppLogger.h"

#include <QJsonDocument>

#include "diagnostics/BeforeSend.h"
#include "diagnostics/Sanitize.h"

namespace quillmere {
namespace {

template <class... F>
struct Overload : F... {
  using F::operator()...;
};
template <class... F>
Overload(F...) -> Overload<F...>;

QString metadataText(const QVariant& value) {
  const QJsonDocument document = QJsonDocument::fromVariant(value);  // null for all but lists and maps
  return document.isNull() ? value.toString() : QString::fromUtf8(document.toJson(QJsonDocument::Compact));
}

// A user who refuses the microphone or lets go of the key at once is no fault of the program.
bool isExpectedAudioCondition(const AnyError& error) {
  if (const auto* audio = std::get_if<AudioError>(&error))
    return audio->kind == AudioError::Kind::noPermission || audio->kind == AudioError::Kind::recordingTooShort;
  if (const auto* platform = std::get_if<PlatformError>(&error))
    return platform->domain == u"Quillmere.AudioError" && (platform->code == 1 || platform->code == 12);
  return false;
}

QString orUnknown(const std::optional<QString>& value) {
  return value ? *value : QStringLiteral("unknown");
}

}  // namespace

AppLogger::AppLogger(Logging logging, CrashReporter& crashReporter, const LogArchive& archive, const Clock& clock,
                     std::function<bool()> isErrorLoggingEnabled, std::function<double()> randomUnit)
    : logging_(std::move(logging)),
      crashReporter_(crashReporter),
      archive_(archive),
      clock_(clock),
      isErrorLoggingEnabled_(std::move(isErrorLoggingEnabled)),
      randomUnit_(std::move(randomUnit)) {}

Logger AppLogger::logger(LogCategory category) const {
  return logging_.logger(logCategoryName(category));
}

bool AppLogger::isEnabled() const {
  return isErrorLoggingEnabled_();
}

void AppLogger::logCoreData(const CoreDataOperation& operation, const std::optional<AnyError>& error) {
  const Logger log = logger(LogCategory::coredata);
  const auto report = [&](const char* message) {
    ReportOptions options;
    options.message = QString::fromLatin1(message);
    captureError(*error, options);
  };
  std::visit(Overload{
                 [&](const CoreDataOperation::Fetch& fetch) {
                   log.debug("Fetched %{public}ld %{public}s objects", fetch.count, fetch.entity);
                 },
                 [&](const CoreDataOperation::Delete& deletion) { log.info("Deleted %{public}s", deletion.entity); },
                 [&](const CoreDataOperation::Migration& migration) {
                   log.notice("Migrating from v%{public}s to v%{public}s", migration.from, migration.to);
                 },
                 [&](const CoreDataOperation::Save&) {
                   if (!error) {
                     log.debug("Context saved successfully");
                     return;
                   }
                   log.error("Failed to save context: %{public}@", localizedDescription(*error));
                   if (isEnabled()) report("Core Data save failed");
                 },
                 [&](const CoreDataOperation::StoreLoad&) {
                   if (!error) {
                     log.info("Persistent store loaded");
                     return;
                   }
                   log.error("Failed to load persistent store: %{public}@", localizedDescription(*error));
                   report("Failed to load persistent store");
                 },
             },
             operation.kind);
}

void AppLogger::logAudio(const QString& message, const std::optional<AnyError>& error,
                         const std::optional<QVariantMap>& metadata) {
  const Logger log = logger(LogCategory::audio);
  if (!error) {
    log.info("%{public}s", message);
  } else if (isExpectedAudioCondition(*error)) {
    log.info("%{public}s: %{public}s", message, localizedDescription(*error));
  } else {
    log.error("%{public}s: %{public}@", message, localizedDescription(*error));
    if (isEnabled()) {
      ReportOptions options;
      options.message = message;
      captureError(*error, options);
    }
  }
  logMetadata(log, metadata);
}

void AppLogger::logTranscription(const TranscriptionOperation& operation, const std::optional<QVariantMap>& metadata) {
  const Logger log = logger(LogCategory::transcription);
  std::visit(
      Overload{
          [&](const TranscriptionOperation::Started& started) {
            log.info("Transcription started - mode: %{public}s, duration: %{public}fs", started.mode,
                     started.durationSeconds);
          },
          [&](const TranscriptionOperation::Completed& completed) {
            log.info("Transcription completed - words: %{public}ld, time: %{public}fs", completed.words,
                     completed.timeSeconds);
          },
          [&](const TranscriptionOperation::Failure& failure) {
            log.error("Transcription failed: %{public}@", localizedDescription(failure.error));
            if (!isEnabled()) return;
            ReportOptions options;
            options.message = QStringLiteral("Transcription failed");
            captureError(failure.error, options);
          },
          [&](const TranscriptionOperation::ModelLoaded& model) { log.info("Model loaded: %{public}s", model.name); },
          [&](const TranscriptionOperation::ApiCall& call) {
            log.info("API call to %{public}s - status: %{public}ld", call.provider, call.status);
          },
      },
      operation.kind);
  logMetadata(log, metadata);
}

void AppLogger::logMetadata(const Logger& log, const std::optional<QVariantMap>& metadata) const {
  if (!metadata) return;
  QStringList pairs;
  for (auto it = metadata->begin(); it != metadata->end(); ++it) pairs += it.key() + u'=' + metadataText(it.value());
  log.info("Metadata: %{public}s", pairs.join(QStringLiteral(", ")));
}

std::optional<QString> AppLogger::recentLogs(int minutes, int maxLines) const {
  const auto lines = archive_.recentLines(clock_.now().addSecs(-60 * qint64(minutes)), maxLines);
  if (!lines) {
    logging_.logger(QStringLiteral("diagnostics"))
        .error("Failed to retrieve recent logs: %{public}@", lines.error().description);
    return std::nullopt;
  }
  QStringList clean;
  clean.reserve(lines->size());
  for (const QString& line : *lines) clean += sanitize(line);
  return clean.join(u'\n');
}

void AppLogger::captureError(const AnyError& error, const ReportOptions& options) {
  if (!crashReporter_.isStarted()) return;
  if (options.sampleRate && *options.sampleRate < 1.0) {
    if (!(*options.sampleRate > 0) || *options.sampleRate < randomUnit_()) return;
  }
  CrashEvent event;
  event.errorType = errorTypeName(error);
  event.errorDomain = errorDomain(error);
  event.errorCode = errorCode(error);
  event.errorDescription = localizedDescription(error);
  event.level = options.level;
  event.message = options.message.value_or(QString());
  event.tags = options.tags;
  event.extra = options.extra;
  if (options.attachRecentLogs) {
    if (const auto logs = recentLogs(5, 100)) event.extra.insert(QStringLiteral("recent_logs"), *logs);
  }
  if (options.fingerprint)
    event.fingerprint = *options.fingerprint;
  else if (options.message)
    event.fingerprint = {QStringLiteral("{{ default }}"), *options.message, event.errorType};
  crashReporter_.capture(event);
}

void AppLogger::addBreadcrumb(const Breadcrumb& breadcrumb) {
  if (isEnabled()) crashReporter_.addBreadcrumb(breadcrumb);
}

void AppLogger::captureMessage(const QString& message, const QString& category, ReportLevel level,
                               const QVariantMap& data) {
  CrashEvent event;
  event.message = message;
  event.level = level;
  event.tags.insert(QStringLiteral("category"), category);
  event.extra = data;
  crashReporter_.capture(event);
}

void AppLogger::startCrashReporting(const DeploymentValues& deployment) {
  if (crashReporter_.isStarted() || !deployment.crashReportDsn || deployment.crashReportDsn->isEmpty()) return;
  CrashReporterOptions options;
  options.dsn = *deployment.crashReportDsn;
  options.environment = deployment.crashReportEnvironment.value_or(QString());
  if (options.environment.isEmpty()) options.environment = QStringLiteral("production");
  options.release = QStringLiteral("quillmere@") + orUnknown(deployment.version);
  options.tags = {{QStringLiteral("macos_version"), deployment.systemVersion},
                  {QStringLiteral("build_number"), orUnknown(deployment.build)},
                  {QStringLiteral("architecture"), deployment.architecture},
                  {QStringLiteral("cpu_cores"), QString::number(deployment.processorCount)},
                  {QStringLiteral("environment"), options.environment}};
  options.beforeSend = &beforeSend;
  crashReporter_.start(options);
}

}  // namespace quillmere
