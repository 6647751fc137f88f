#include "recording/RecordingSessionManager.h"

#include <QFile>

namespace quillmere {

RecordingSessionManager::RecordingSessionManager(PersistenceController& persistence, const Clock& clock,
                                                 ProcessLocks& locks, const Logging& logging)
    : persistence_(persistence),
      clock_(clock),
      locks_(locks),
      log_(logging.logger(QStringLiteral("RecordingSessionManager"))) {}

QString RecordingSessionManager::lockName(const RecordingSession& session) {
  return QStringLiteral("recording-") + session.id.value_or(QUuid()).toString(QUuid::WithoutBraces);
}

RecordingSessionPtr RecordingSessionManager::createSession(const std::optional<QString>& deviceId,
                                                           const QString& deviceName, double sampleRate,
                                                           int channelCount, const QString& audioFormat,
                                                           const QString& audioFilePath) {
  const RecordingSessionPtr session = persistence_.insertRecordingSession();
  auto lock = locks_.take(lockName(*session));
  if (!lock) log_.warning("The recording could not be locked: another program that starts now may take it for lost");
  held_[*session->id] = std::move(lock);
  session->startTime = clock_.now();
  session->deviceId = deviceId;
  session->deviceName = deviceName;
  session->sampleRate = sampleRate;
  session->channelCount = qint16(channelCount);
  session->audioFormat = audioFormat;
  session->audioFilePath = audioFilePath;
  persistence_.save();
  log_.info("📝 Created recording session: %s", session->id->toString(QUuid::WithoutBraces));
  return session;
}

bool RecordingSessionManager::completeSession(const RecordingSessionPtr& session, const QString& path,
                                              double duration) {
  session->audioFilePath = path;
  session->durationInSeconds = duration;
  session->endTime = clock_.now();
  if (session->status != QLatin1String(discardedStatus)) session->status = QString::fromLatin1(unsettledStatus);
  const bool isSaved = persistence_.save();
  log_.info("✅ Updated recording session: duration=%ss, path=%s", QString::number(duration), path);
  return isSaved;
}

void RecordingSessionManager::discardSession(const RecordingSessionPtr& session) {
  session->status = QString::fromLatin1(discardedStatus);
  persistence_.save();
}

TranscriptPtr RecordingSessionManager::createTranscript(const RecordingSessionPtr& session, double duration,
                                                        const std::optional<QString>& modeName,
                                                        const std::optional<QString>& audioPath,
                                                        const QString& status) {
  const TranscriptPtr transcript = persistence_.insertTranscript();
  if (status == QLatin1String("processing")) transcript->text = processingPlaceholder;
  transcript->date = clock_.now();
  transcript->duration = duration;
  transcript->mode = modeName;
  transcript->audioFilePath = audioPath;
  transcript->status = status;
  transcript->recordingSession = session;
  if (session) session->status.reset();
  persistence_.save();
  if (session) releaseSession(session);
  return transcript;
}

TranscriptPtr RecordingSessionManager::createFailedTranscript(const RecordingSessionPtr& session,
                                                              const QString& reason) {
  const TranscriptPtr transcript = persistence_.insertTranscript();
  transcript->date = session->startTime.value_or(clock_.now());
  transcript->duration = session->durationInSeconds;
  transcript->audioFilePath = session->audioFilePath;
  transcript->status = QStringLiteral("failed");
  transcript->failedReason = reason;
  transcript->text = reason;
  transcript->recordingSession = session;
  session->status.reset();
  persistence_.save();
  releaseSession(session);
  return transcript;
}

void RecordingSessionManager::settleSession(const RecordingSessionPtr& session) {
  if (!session) return;
  if (session->endTime) {
    session->status.reset();
    persistence_.save();
  }
  releaseSession(session);
}

void RecordingSessionManager::deleteSession(const RecordingSessionPtr& session) {
  if (session->audioFilePath) {
    if (QFile::remove(*session->audioFilePath))
      log_.info("Deleted incomplete audio file: %s", *session->audioFilePath);
    else
      log_.info("Could not delete incomplete audio file (may not exist): %s", *session->audioFilePath);
  }
  persistence_.deleteRecordingSession(session);
  releaseSession(session);
  log_.info("🗑️ Deleted incomplete recording session");
}

void RecordingSessionManager::releaseSession(const RecordingSessionPtr& session) {
  if (session->id) held_.erase(*session->id);
}

}  // namespace quillmere
