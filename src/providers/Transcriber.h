#pragma once
#include <QString>
#include <optional>

#include "base/Result.h"
#include "base/async/Task.h"
#include "domain/Entities.h"
#include "domain/Errors.h"
#include "domain/TranscriptionResult.h"

namespace quillmere {

struct ApplicationContext;

struct TranscriptionRequest {
  QString audioPath;
  ModePtr mode;
  RecordingSessionPtr recordingSession;                    // only feeds the failure report
  const ApplicationContext* applicationContext = nullptr;  // outlives the transcription
  std::optional<QString> selectedText;
};

// The one road from a finished audio file to a text. Main thread.
class Transcriber {
 public:
  virtual ~Transcriber() = default;
  // One transcription runs at a time: a new call ends the one before it. Throws Cancelled when the calling task, this
  // transcription (cancelTranscription) or a newer call ended it; every other failure is the error in the result.
  virtual Task<Result<TranscriptionResult, AnyError>> transcribeWithDetails(TranscriptionRequest request) = 0;
  virtual void cancelTranscription() = 0;
};

}  // namespace quillmere
