#include "recording/RecordingSessionManager.h"

#include <QFile>

namespace quillmere {

RecordingSessionManager::RecordingSessionManager(PersistenceController& persistence, const Clock& clock,
                                                 const Logging& logging)
    : persistence_(persistence), clock_(clock), log_(logging.logger(QStringLiteral("RecordingSessionManager"))) {}

RecordingSessionPtr RecordingSessionManager::createSession(const std::optional<QString>& deviceId,
                                                           const QString& deviceName, double sampleRate,
                                                           int channelCount, const QString& audioFormat,
                                                           const std::optional<QString>& audioFilePath) {
  const RecordingSessionPtr session = persistence_.insertRecordingSession();
  session->startTime = clock_.now();
  session->deviceId = deviceId;
  session->deviceName = deviceName;
  session->sampleRate = sampleRate;
  session->channelCount = qint16(channelCount);
  session->audioFormat = audioFormat;
  session->audioFilePath = audioFilePath;
  persistence_.save();
  currentRecordingSession_ = session;
  log_.info("📝 Created recording session: %s", session->id->toString(QUuid::WithoutBraces));
  return session;
}

bool RecordingSessionManager::completeSession(const RecordingSessionPtr& session, const QString& path,
                                              double duration) {
  session->audioFilePath = path;
  session->durationInSeconds = duration;
  session->endTime = clock_.now();
  const bool isWanted = session->status != QLatin1String(discardedStatus);
  session->status.reset();
  if (tracksUntilSettled_ && isWanted) session->status = QString::fromLatin1(unsettledStatus);
  const bool isSaved = persistence_.save();
  if (session == currentRecordingSession_) currentRecordingSession_.reset();
  log_.info("✅ Updated recording session: duration=%ss, path=%s", QString::number(duration), path);
  return isSaved;
}

void RecordingSessionManager::settleSession(const RecordingSessionPtr& session) {
  if (!session || session->status != QLatin1String(unsettledStatus)) return;
  session->status.reset();
  persistence_.save();
}

void RecordingSessionManager::discardSession(const RecordingSessionPtr& session) {
  if (!session) return;
  if (session->endTime) return settleSession(session);
  session->status = QString::fromLatin1(discardedStatus);
  persistence_.save();
}

TranscriptPtr RecordingSessionManager::createTranscript(const RecordingSessionPtr& session, double duration,
                                                        const std::optional<QString>& modeName,
                                                        const std::optional<QString>& audioPath) {
  if (session) session->status.reset();  // written together with the new row
  const TranscriptPtr transcript = persistence_.createTranscript(duration, modeName, audioPath);
  if (session) {
    transcript->recordingSession = session;
    persistence_.save();
  }
  return transcript;
}

RecordingSessionPtr RecordingSessionManager::takeCurrentSession() {
  return std::exchange(currentRecordingSession_, nullptr);
}

void RecordingSessionManager::deleteCurrentSession() {
  const RecordingSessionPtr session = takeCurrentSession();
  if (!session || session->endTime) {
    log_.info("No current session to delete");
    return;
  }
  if (session->audioFilePath) {
    if (QFile::remove(*session->audioFilePath))
      log_.info("Deleted incomplete audio file: %s", *session->audioFilePath);
    else
      log_.info("Could not delete incomplete audio file (may not exist): %s", *session->audioFilePath);
  }
  persistence_.deleteRecordingSession(session);
  persistence_.save();
  log_.info("🗑️ Deleted incomplete recording session");
}

}  // namespace quillmere
