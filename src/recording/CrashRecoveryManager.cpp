#include "recording/CrashRecoveryManager.h"

#include <QFile>
#include <QFileInfo>
#include <filesystem>

#include "base/async/Await.h"
#include "base/text/LocalizedText.h"
#include "recording/RecordingSessionManager.h"

namespace quillmere {
namespace {

constexpr qint64 minimumBytes = 101;
constexpr qint64 slowAttemptMs = 751;
constexpr qint64 slowScanMs = 2001;

qint64 millisecondsBetween(TimePoint from, TimePoint to) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(to - from).count();
}

QString idText(const RecordingSessionPtr& session) {
  return session->id ? session->id->toString(QUuid::WithoutBraces) : QStringLiteral("unknown");
}

QString secondsText(double seconds) {
  return QString::number(seconds, 'f', 1);
}

}  // namespace

CrashRecoveryManager::CrashRecoveryManager(Dependencies dependencies, const Logging& logging)
    : use_(std::move(dependencies)), log_(logging.logger(QStringLiteral("CrashRecoveryManager"))) {}

QString CrashRecoveryManager::outcomeText(Outcome outcome) {
  switch (outcome) {
    case Outcome::skipped:
      return QStringLiteral("skipped");
    case Outcome::recovered:
      return QStringLiteral("recovered");
    case Outcome::deletedMissingPath:
      return QStringLiteral("deleted_missing_path");
    case Outcome::deletedDiscarded:
      return QStringLiteral("deleted_discarded");
    case Outcome::deletedDeprecatedCaf:
      return QStringLiteral("deleted_deprecated_caf");
    case Outcome::deletedUnsupportedFormat:
      return QStringLiteral("deleted_unsupported_format");
    case Outcome::deletedUnrecoverable:
      return QStringLiteral("deleted_unrecoverable");
    case Outcome::conversionFailed:
      return QStringLiteral("conversion_failed");
  }
  return {};
}

void CrashRecoveryManager::leaveBreadcrumb(const QString& message, ReportLevel level, const QVariantMap& data) {
  if (use_.reporting && use_.reporting->isEnabled())
    use_.reporting->addBreadcrumb({message, QStringLiteral("audio.recovery"), level, data});
}

Task<std::vector<RecoveredRecording>> CrashRecoveryManager::recoverOrphanedRecordings() {
  Executor& executor = co_await currentExecutor();
  const TimePoint start = executor.now();
  std::vector<RecoveredRecording> recovered;
  const auto sessions = use_.persistence.fetchUnfinishedRecordingSessions();
  recoverUnsettled(recovered);
  const auto unsettledCount = qint64(recovered.size());
  if (sessions.empty()) {
    log_.info("No orphaned recordings found");
    co_return recovered;
  }
  log_.info("Found %ld orphaned session(s)", qint64(sessions.size()));

  for (const RecordingSessionPtr& session : sessions) {
    const TimePoint attemptStart = executor.now();
    const QString sessionId = idText(session);
    auto handling = handle(session, sessionId, recovered);
    const Outcome outcome = co_await std::move(handling);
    const qint64 took = millisecondsBetween(attemptStart, executor.now());
    if (took >= slowAttemptMs)
      leaveBreadcrumb(QStringLiteral("Slow crash recovery attempt"), ReportLevel::warning,
                      {{QStringLiteral("sessionId"), sessionId},
                       {QStringLiteral("durationMs"), took},
                       {QStringLiteral("outcome"), outcomeText(outcome)}});
  }
  use_.persistence.save();

  const auto recoveredCount = qint64(recovered.size()) - unsettledCount;
  const qint64 otherCount = qint64(sessions.size()) - recoveredCount;
  const qint64 took = millisecondsBetween(start, executor.now());
  log_.info("Orphaned recording recovery complete: %ld recovered, %ld failed/deleted in %ldms", recoveredCount,
            otherCount, took);
  if (took >= slowScanMs)
    leaveBreadcrumb(QStringLiteral("Slow orphan recovery scan"), ReportLevel::warning,
                    {{QStringLiteral("durationMs"), took},
                     {QStringLiteral("recovered"), recoveredCount},
                     {QStringLiteral("failedOrDeleted"), otherCount}});
  co_return recovered;
}

// Recordings that were finished, but whose process ended before they had a place in the history.
void CrashRecoveryManager::recoverUnsettled(std::vector<RecoveredRecording>& recovered) {
  const auto sessions =
      use_.persistence.fetchRecordingSessionsWithStatus(QString::fromLatin1(RecordingSessionManager::unsettledStatus));
  if (sessions.empty()) return;
  for (const RecordingSessionPtr& session : sessions) {
    session->status.reset();
    if (!session->audioFilePath || !QFileInfo(*session->audioFilePath).isFile()) continue;
    if (!addToHistory(session, *session->audioFilePath)) continue;
    log_.info("Session %s had no transcript yet, adding it to the history", idText(session));
    recovered.push_back({session, *session->audioFilePath});
  }
  use_.persistence.save();
}

Task<CrashRecoveryManager::Outcome> CrashRecoveryManager::handle(RecordingSessionPtr session, QString sessionId,
                                                                 std::vector<RecoveredRecording>& recovered) {
  if (!session->audioFilePath || session->audioFilePath->isEmpty()) {
    use_.persistence.deleteRecordingSession(session);
    leaveBreadcrumb(QStringLiteral("Deleted orphaned session without audio path"), ReportLevel::info,
                    {{QStringLiteral("sessionId"), sessionId}});
    co_return Outcome::deletedMissingPath;
  }
  const QString path = *session->audioFilePath;
  if (use_.isFileInUse && use_.isFileInUse(path)) {
    log_.info("Session %s is being recorded by another process, leaving it alone", sessionId);
    co_return Outcome::skipped;
  }
  if (session->status == QLatin1String(RecordingSessionManager::discardedStatus)) {
    log_.info("Session %s was thrown away by its user, deleting", sessionId);
    discard(session, path);
    co_return Outcome::deletedDiscarded;
  }
  const QVariantMap place{{QStringLiteral("sessionId"), sessionId}, {QStringLiteral("path"), path}};
  const QString extension = QFileInfo(path).suffix().toLower();
  if (extension == QStringLiteral("caf")) {
    log_.info("Session %s uses deprecated CAF format, deleting", sessionId);
    discard(session, path);
    leaveBreadcrumb(QStringLiteral("Deleted orphaned session with deprecated CAF format"), ReportLevel::info, place);
    co_return Outcome::deletedDeprecatedCaf;
  }
  if (extension != QStringLiteral("wav")) {
    log_.info("Session %s has unsupported format: %s, deleting", sessionId, extension);
    discard(session, path);
    co_return Outcome::deletedUnsupportedFormat;
  }
  if (!isRecoverable(path)) {
    log_.info("Session %s has unrecoverable audio, deleting", sessionId);
    discard(session, path);
    leaveBreadcrumb(QStringLiteral("Deleted orphaned session with unrecoverable audio"), ReportLevel::info, place);
    co_return Outcome::deletedUnrecoverable;
  }
  log_.info("Attempting to recover session %{public}s", sessionId);
  auto recovering = recoverSession(session, path);
  const auto final = co_await std::move(recovering);
  if (!final) {
    leaveBreadcrumb(QStringLiteral("Recovery conversion failed"), ReportLevel::warning,
                    {{QStringLiteral("sessionId"), sessionId}, {QStringLiteral("rawPath"), path}});
    co_return Outcome::conversionFailed;
  }
  recovered.push_back({session, *final});
  co_return Outcome::recovered;
}

void CrashRecoveryManager::discard(const RecordingSessionPtr& session, const QString& path) {
  QFile::remove(path);
  use_.persistence.deleteRecordingSession(session);
}

bool CrashRecoveryManager::isRecoverable(const QString& path) const {
  const QFileInfo info(path);
  return info.isFile() && info.isReadable() && info.size() >= minimumBytes &&
         AudioFileProperties::read(use_.mediaReaders, path).hasValue();
}

void CrashRecoveryManager::leaveFailure(const RecordingSessionPtr& session, const QString& path,
                                        const AnyError& error) {
  leaveBreadcrumb(QStringLiteral("Recovery failed"), ReportLevel::error,
                  {{QStringLiteral("sessionId"), idText(session)},
                   {QStringLiteral("rawPath"), path},
                   {QStringLiteral("errorDomain"), errorDomain(error)},
                   {QStringLiteral("errorCode"), errorCode(error)}});
}

Task<std::optional<QString>> CrashRecoveryManager::recoverSession(RecordingSessionPtr session, QString path) {
  const QString stem = session->id.value_or(QUuid::createUuid()).toString(QUuid::WithoutBraces);
  const QFileInfo info(path);
  if (!info.exists()) {
    log_.error("Cannot get file size for recovery: %s", path);
    co_return std::nullopt;
  }
  const qint64 size = info.size();
  const QString folder = use_.folders.documents + QStringLiteral("/Recordings");
  std::error_code failure;
  std::filesystem::create_directories(QFile::encodeName(folder).toStdString(), failure);
  if (failure) log_.error("Cannot create the folder for recovered recordings: %s", failure.message());

  const auto properties = AudioFileProperties::read(use_.mediaReaders, path);
  if (!properties) {
    log_.error("Cannot read WAV file for recovery: %s", properties.error().description);
    co_return std::nullopt;
  }
  auto measuring = use_.audioFileConverter.durationSeconds(path);
  const auto measured = co_await std::move(measuring);
  const double stated = properties->sampleRate > 0 ? double(properties->frames) / properties->sampleRate : 0;
  const double duration = measured.valueOr(stated);

  const bool isLarge = size >= wavToM4AThreshold;
  const QString format = isLarge ? QStringLiteral("m4a") : QStringLiteral("wav");
  const QString target = folder + u'/' + stem + u'.' + format;
  if (isLarge) {
    auto converting = use_.audioFileConverter.convertAudioToAAC(path, target);
    const auto converted = co_await std::move(converting);
    if (!converted) {
      log_.error("Failed to recover M4A: %s", localizedDescription(converted.error()));
      leaveFailure(session, path, converted.error());
      co_return std::nullopt;
    }
  } else if (path != target) {
    QFile::remove(target);
    QFile file(path);
    // A folder that has become read-only lets nothing go; a copy saves the recording all the same.
    if (!file.rename(target) && !QFile::copy(path, target)) {
      const AnyError error = PlatformError{QStringLiteral("filesystem"), int(file.error()), file.errorString()};
      log_.error("Failed to recover WAV: %s", localizedDescription(error));
      leaveFailure(session, path, error);
      co_return std::nullopt;
    }
  }

  session->audioFilePath = target;
  session->durationInSeconds = duration;
  session->endTime = use_.clock.now();
  session->sampleRate = properties->sampleRate;
  session->channelCount = qint16(properties->channelCount);
  session->audioFormat = format;
  addToHistory(session, target);
  // Saved at once: what follows may take minutes, and a row must not name a file that was moved away.
  const bool isSaved = use_.persistence.save();
  if (isLarge) {
    if (isSaved) QFile::remove(path);
    log_.info("✅ Recovered M4A: %s (%ss, converted from %lldKB WAV)", target, secondsText(duration), size / 1024);
  } else {
    log_.info("✅ Recovered WAV: %s (%ss, %lldKB)", target, secondsText(duration), size / 1024);
  }
  leaveBreadcrumb(QStringLiteral("Recovered recording"), ReportLevel::info,
                  {{QStringLiteral("sessionId"), idText(session)},
                   {QStringLiteral("rawPath"), path},
                   {QStringLiteral("finalPath"), target},
                   {QStringLiteral("format"), format},
                   {QStringLiteral("durationSec"), duration}});
  co_return target;
}

bool CrashRecoveryManager::addToHistory(const RecordingSessionPtr& session, const QString& path) {
  if (use_.persistence.fetchTranscriptOfSession(session)) return false;
  const QString reason = localizedText("recording.recovered.reason");
  const TranscriptPtr transcript = use_.persistence.insertTranscript();
  transcript->date = session->startTime.value_or(use_.clock.now());
  transcript->duration = session->durationInSeconds;
  transcript->audioFilePath = path;
  transcript->status = QStringLiteral("failed");
  transcript->failedReason = reason;
  transcript->text = reason;
  transcript->recordingSession = session;
  return true;
}

}  // namespace quillmere
