#pragma once
#include <QDateTime>
#include <QString>
#include <QUuid>
#include <optional>

#include "base/async/Executor.h"
#include "domain/Entities.h"

namespace quillmere {

// How long the parts of a transcription took.
struct TranscriptionTimings {
  TimePoint decodingBegan{};  // when the engine turned to it, without the wait for an older one
  Duration decoding{};
  std::optional<Duration> rewriting;
};

// What the pipeline hands to its caller.
struct TranscriptionResult {
  QUuid id;
  QString text;     // after cleaning and post-processing
  QString rawText;  // as the speech engine gave it
  QDateTime timestamp;
  double duration = 0;  // seconds; the caller that knows the audio's length supplies it
  ModePtr mode;
  QString provider;  // display name
  bool wasPostProcessed = false;
  std::optional<QString> postProcessingProvider;
  TranscriptionTimings timings;
};

}  // namespace quillmere
