#pragma once
#include <QString>
#include <functional>
#include <optional>

#include "base/Result.h"
#include "base/async/Task.h"
#include "domain/ApplicationContext.h"
#include "domain/Entities.h"
#include "domain/Errors.h"
#include "domain/TranscriptionResult.h"

namespace quillmere {

struct TranscriptionRequest {
  QString audioPath;
  ModePtr mode;                          // null is the default model without rewriting
  RecordingSessionPtr recordingSession;  // only feeds the failure report
  std::optional<ApplicationContext> applicationContext;
  std::optional<QString> selectedText;
  // Main thread; not after the end of the call. Each may be empty.
  std::function<void()> onRewriting;                                  // a language model begins
  std::function<void(const QString&)> onRewrittenText;                // what it has written so far
  std::function<void(const TranscriptionError&)> onRewritingProblem;  // the text stands as it was spoken
  std::function<void(float)> onProgress;                              // of the engine, 0 to 1; not every engine tells
};

// From an audio file to a text. Stores nothing. Main thread. Any number of calls may be under way; none ends another.
// Only a cancel of the task that awaits a call ends it early, with Cancelled; every other failure is in the result.
class Transcriber {
 public:
  virtual ~Transcriber() = default;
  virtual Task<Result<TranscriptionResult, AnyError>> transcribeWithDetails(TranscriptionRequest request) = 0;
};

}  // namespace quillmere
