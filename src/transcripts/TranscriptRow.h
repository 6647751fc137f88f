#pragma once
#include <QString>

#include "domain/Entities.h"
#include "domain/TranscriptionResult.h"

namespace quillmere {

// The fields of a row of the history as the end of its transcription leaves them. Saving is the caller's.
void completeTranscript(Transcript& row, const TranscriptionResult& result);
void failTranscript(Transcript& row, const QString& reason, const QString& text);
// What such a row says in the place of its text.
QString failedTranscriptText(const QString& reason);

}  // namespace quillmere
