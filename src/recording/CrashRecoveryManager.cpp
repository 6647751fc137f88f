#include "recording/CrashRecoveryManager.h"

#include <QFile>
#include <QFileInfo>
#include <filesystem>

#include "base/async/Await.h"
#include "base/async/Offload.h"
#include "base/text/LocalizedText.h"
#include "storage/AbsentDisk.h"

namespace quillmere {
namespace {

constexpr qint64 minimumBytes = 101;
constexpr double leastDiscardedSeconds = 1.0;
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
    case Outcome::discarded:
      return QStringLiteral("discarded");
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

std::vector<CrashRecoveryManager::Orphan> CrashRecoveryManager::claimOrphans() {
  auto sessions = use_.persistence.fetchUnfinishedRecordingSessions();
  for (const char* status : {RecordingSessionManager::unsettledStatus, RecordingSessionManager::discardedStatus})
    for (const auto& session : use_.persistence.fetchRecordingSessionsWithStatus(QString::fromLatin1(status)))
      if (std::find(sessions.begin(), sessions.end(), session) == sessions.end()) sessions.push_back(session);
  std::vector<Orphan> orphans;
  for (const RecordingSessionPtr& session : sessions) {
    auto lock = use_.locks.take(RecordingSessionManager::lockName(*session));
    if (!lock)
      log_.info("Session %s belongs to a living process, leaving it alone", idText(session));
    else
      orphans.push_back({session, idText(session), std::move(lock)});
  }
  // What its owner, or another recovery, has done with a row before it let go of it.
  std::erase_if(orphans, [this](const Orphan& orphan) {
    if (!orphan.session->id) return false;
    const auto stored = use_.persistence.fetchRecordingSession(*orphan.session->id);
    return !stored || (stored->endTime && !stored->status);
  });
  return orphans;
}

Task<std::vector<RecoveredRecording>> CrashRecoveryManager::recoverOrphanedRecordings() {
  Executor& executor = co_await currentExecutor();
  const TimePoint start = executor.now();
  std::vector<RecoveredRecording> recovered;
  std::vector<Orphan> orphans = claimOrphans();
  if (orphans.empty()) {
    log_.info("No orphaned recordings found");
    co_return recovered;
  }
  log_.info("Found %ld orphaned session(s)", qint64(orphans.size()));

  for (Orphan& orphan : orphans) {
    co_await yieldNow();
    const TimePoint attemptStart = executor.now();
    const Outcome outcome = co_await handle(orphan, recovered);
    orphan.lock.reset();
    const qint64 took = millisecondsBetween(attemptStart, executor.now());
    if (took >= slowAttemptMs)
      leaveBreadcrumb(QStringLiteral("Slow crash recovery attempt"), ReportLevel::warning,
                      {{QStringLiteral("sessionId"), orphan.sessionId},
                       {QStringLiteral("durationMs"), took},
                       {QStringLiteral("outcome"), outcomeText(outcome)}});
  }
  use_.persistence.save();

  const auto recoveredCount = qint64(recovered.size());
  const qint64 otherCount = qint64(orphans.size()) - recoveredCount;
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

// A recording that was finished, but whose process ended before it had a place in the history.
CrashRecoveryManager::Outcome CrashRecoveryManager::addUnsettled(const Orphan& orphan,
                                                                 std::vector<RecoveredRecording>& recovered) {
  const RecordingSessionPtr& session = orphan.session;
  const QString path = session->audioFilePath.value_or(QString());
  if (!QFileInfo(path).isFile() || use_.persistence.fetchTranscriptOfSession(session)) {
    use_.sessionManager.settleSession(session);
    return Outcome::skipped;
  }
  log_.info("Session %s had no transcript yet, adding it to the history", orphan.sessionId);
  use_.sessionManager.createFailedTranscript(session, localizedText("recording.recovered.reason"));
  recovered.push_back({session, path});
  return Outcome::recovered;
}

Task<CrashRecoveryManager::Outcome> CrashRecoveryManager::handle(const Orphan& orphan,
                                                                 std::vector<RecoveredRecording>& recovered) {
  const RecordingSessionPtr session = orphan.session;
  const QString sessionId = orphan.sessionId;
  if (!session->audioFilePath || session->audioFilePath->isEmpty()) {
    use_.persistence.deleteRecordingSession(session);
    leaveBreadcrumb(QStringLiteral("Deleted orphaned session without audio path"), ReportLevel::info,
                    {{QStringLiteral("sessionId"), sessionId}});
    co_return Outcome::deletedMissingPath;
  }
  const QString path = *session->audioFilePath;
  if (isOnAbsentDisk(path)) {
    log_.info("Session %s lies on a disk that is not there, leaving it for later", sessionId);
    co_return Outcome::skipped;
  }
  if (session->status == QLatin1String(RecordingSessionManager::discardedStatus))
    co_return co_await settleDiscarded(session, path);
  if (session->endTime) co_return addUnsettled(orphan, recovered);
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
  const auto final = co_await recoverSession(session, path);
  if (!final) {
    leaveBreadcrumb(QStringLiteral("Recovery conversion failed"), ReportLevel::warning,
                    {{QStringLiteral("sessionId"), sessionId}, {QStringLiteral("rawPath"), path}});
    co_return Outcome::conversionFailed;
  }
  recovered.push_back({session, *final});
  co_return Outcome::recovered;
}

// Whoever threw it away may still find it for a day, as where the process lived on. What is too short for a row goes.
Task<CrashRecoveryManager::Outcome> CrashRecoveryManager::settleDiscarded(RecordingSessionPtr session, QString path) {
  log_.info("Session %s was thrown away by its user", idText(session));
  if (session->endTime && QFileInfo(path).isFile()) {
    giveRow(session);
    co_return Outcome::discarded;
  }
  const auto length = co_await use_.audioFileConverter.durationSeconds(path);
  if (!isRecoverable(path) || length.valueOr(0) < leastDiscardedSeconds) {
    discard(session, path);
    co_return Outcome::discarded;
  }
  const auto kept = co_await recoverSession(session, path);
  co_return kept ? Outcome::discarded : Outcome::conversionFailed;
}

// In the history, where a recording that was thrown away is none of the list.
void CrashRecoveryManager::giveRow(const RecordingSessionPtr& session) {
  if (session->status == QLatin1String(RecordingSessionManager::discardedStatus))
    use_.sessionManager.createTranscript(session, session->durationInSeconds.value_or(0), std::nullopt,
                                         session->audioFilePath, TranscriptStatus::discarded);
  else
    use_.sessionManager.createFailedTranscript(session, localizedText("recording.recovered.reason"));
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
  const QString folder = use_.storage.usableRecordingsFolder();

  const auto properties = AudioFileProperties::read(use_.mediaReaders, path);
  if (!properties) {
    log_.error("Cannot read WAV file for recovery: %s", properties.error().description);
    co_return std::nullopt;
  }
  const auto measured = co_await use_.audioFileConverter.durationSeconds(path);
  const double stated = properties->sampleRate > 0 ? double(properties->frames) / properties->sampleRate : 0;
  const double duration = measured.valueOr(stated);

  const bool isLarge = size >= wavToM4AThreshold;
  const QString format = isLarge ? QStringLiteral("m4a") : QStringLiteral("wav");
  const QString target = folder + u'/' + stem + u'.' + format;
  const bool isInPlace = path == target;
  if (!isInPlace) QFile::remove(target);
  if (isLarge) {
    const auto converted = co_await use_.audioFileConverter.convertAudioToAAC(path, target);
    if (!converted) {
      log_.error("Failed to recover M4A: %s", localizedDescription(converted.error()));
      leaveFailure(session, path, converted.error());
      co_return std::nullopt;
    }
  } else if (!isInPlace) {
    const auto kept = co_await keepAs(path, target);
    if (!kept) {
      log_.error("Failed to recover WAV: %s", localizedDescription(kept.error()));
      leaveFailure(session, path, kept.error());
      co_return std::nullopt;
    }
  }

  session->audioFilePath = target;
  session->durationInSeconds = duration;
  session->endTime = use_.clock.now();
  session->sampleRate = properties->sampleRate;
  session->channelCount = qint16(properties->channelCount);
  session->audioFormat = format;
  // Saved at once, and before the raw file goes: a row never names a file that is not there.
  giveRow(session);
  const bool isSaved = co_await use_.persistence.waitUntilSaved();
  if (isSaved && !isInPlace) QFile::remove(path);
  if (isLarge)
    log_.info("✅ Recovered M4A: %s (%ss, converted from %lldKB WAV)", target, secondsText(duration), size / 1024);
  else
    log_.info("✅ Recovered WAV: %s (%ss, %lldKB)", target, secondsText(duration), size / 1024);
  leaveBreadcrumb(QStringLiteral("Recovered recording"), ReportLevel::info,
                  {{QStringLiteral("sessionId"), idText(session)},
                   {QStringLiteral("rawPath"), path},
                   {QStringLiteral("finalPath"), target},
                   {QStringLiteral("format"), format},
                   {QStringLiteral("durationSec"), duration}});
  co_return target;
}

// Under both names for now. A copy serves where links don't reach: another disk, or a file system without them.
Task<Result<void, AnyError>> CrashRecoveryManager::keepAs(QString path, QString target) {
  std::error_code failure;
  std::filesystem::create_hard_link(QFile::encodeName(path).toStdString(), QFile::encodeName(target).toStdString(),
                                    failure);
  if (!failure) co_return Result<void, AnyError>();
  WorkerPool copier(1, QStringLiteral("recovery"));
  auto copying = offload(copier, [path, target](const StopFlag&) -> QString {
    QFile file(path);
    return file.copy(target) ? QString() : file.errorString();
  });
  const QString problem = co_await std::move(copying);
  if (problem.isEmpty()) co_return Result<void, AnyError>();
  co_return Failed{AnyError(PlatformError{QStringLiteral("filesystem"), failure.value(), problem})};
}

}  // namespace quillmere
