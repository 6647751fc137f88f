#include "transcripts/TranscriptRow.h"

namespace quillmere {

void completeTranscript(Transcript& row, const TranscriptionResult& result) {
  row.status = QStringLiteral("completed");
  row.transcribedText = result.rawText;
  row.transcriptionProvider = result.provider;
  row.text = result.text;
  if (!result.wasPostProcessed) return;
  row.postProcessedText = result.text;
  if (result.postProcessingProvider) row.postProcessingProvider = result.postProcessingProvider;
}

void failTranscript(Transcript& row, const QString& reason, const QString& text) {
  row.status = QStringLiteral("failed");
  row.failedReason = reason;
  row.text = text;
}

QString failedTranscriptText(const QString& reason) {
  return QStringLiteral("Transcription failed: ") + reason;
}

}  // namespace quillmere
