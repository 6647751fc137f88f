#pragma once
#include <QString>
#include <optional>

#include "base/async/Executor.h"
#include "domain/Entities.h"
#include "ports/AudioRecorder.h"

namespace quillmere {

// What a stopped recording left.
struct RecordingStopResult {
  std::optional<QString> path;  // the finished file; none where it could not be given its name (it isn't lost then)
  double duration = 0;          // seconds
  // Below a second, or a file of a known size below 5000 bytes: file and row are removed already.
  bool isTooShort = false;
  std::optional<QString> conversionWarning;
  std::optional<AudioRecorder::Interruption> interruption;  // the capture had ended by itself before the stop
  RecordingSessionPtr session;                              // its row in the store; null when it was too short
  std::optional<TimePoint> firstSampleAt;                   // where the recorder tells of it
};

}  // namespace quillmere
