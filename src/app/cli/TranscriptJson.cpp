#include "app/cli/TranscriptJson.h"

namespace quillmere {

QJsonObject transcriptJson(const Transcript& transcript) {
  QJsonObject object;
  const auto put = [&](const char* key, const std::optional<QString>& value) {
    if (value) object.insert(QLatin1String(key), *value);
  };
  const auto putDate = [&](const char* key, const std::optional<QDateTime>& value) {
    if (value) object.insert(QLatin1String(key), value->toUTC().toString(Qt::ISODateWithMs));
  };
  if (transcript.id) object.insert(QLatin1String("id"), transcript.id->toString(QUuid::WithoutBraces));
  putDate("date", transcript.date);
  if (transcript.duration) object.insert(QLatin1String("durationSeconds"), *transcript.duration);
  put("status", transcript.status);
  put("mode", transcript.mode);
  put("text", transcript.text);
  put("transcribedText", transcript.transcribedText);
  put("postProcessedText", transcript.postProcessedText);
  put("transcriptionProvider", transcript.transcriptionProvider);
  put("postProcessingProvider", transcript.postProcessingProvider);
  put("audioFile", transcript.audioFilePath);
  put("trimmedAudioFile", transcript.trimmedAudioFilePath);
  put("failedReason", transcript.failedReason);
  if (transcript.retryCount) object.insert(QLatin1String("retryCount"), int(*transcript.retryCount));
  putDate("lastRetryDate", transcript.lastRetryDate);
  return object;
}

}  // namespace quillmere
