#pragma once
#include <QString>
#include <optional>

#include "base/async/Task.h"

namespace quillmere {

// What a finished trim returns.
struct TrimResult {
  QString outputPath;
  double originalDuration = 0;  // seconds
  double trimmedDuration = 0;   // seconds
  int segmentCount = 0;         // after merging
  bool operator==(const TrimResult&) const = default;
};

struct VADProcessingResult {
  QString finalAudioPath;  // the file to transcribe
  std::optional<TrimResult> trimResult;
  bool wasProcessed = false;
  QString originalAudioPath;
  bool operator==(const VADProcessingResult&) const = default;
};

// Cuts the silence out of a recording before it is transcribed. Never fails: whatever goes wrong, the result names the
// original, which is never changed. Called on the main thread. Users hold a nullable pointer; without one they use the
// original audio.
class VADProcessing {
 public:
  virtual ~VADProcessing() = default;
  // isEnabled is the user's setting; a logPrefix that isn't empty goes before log lines in brackets. Nothing but the
  // trimmed file that the result names is left beside the original.
  virtual Task<VADProcessingResult> process(QString audioPath, double durationSeconds, bool isEnabled,
                                            QString logPrefix) = 0;
  // For audio that is sent away: a WAV of 25 MiB or more as an M4A beside it, which is the caller's to remove; else,
  // and where that fails, the file itself.
  virtual Task<QString> compressLargeWav(QString path, QString logPrefix) = 0;
};

}  // namespace quillmere
