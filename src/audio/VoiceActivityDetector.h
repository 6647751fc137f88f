#pragma once
#include <memory>
#include <vector>

#include "audio/TimeRange.h"
#include "audio/VADError.h"
#include "audio/VADModelManager.h"
#include "base/Result.h"
#include "base/async/Task.h"
#include "base/async/WorkerPool.h"
#include "base/log/Logger.h"
#include "ports/VoiceActivityModel.h"

namespace quillmere {

// Finds the speech in a recording. Called on the main thread; the model works on a thread of its own, one call at a
// time, and stays loaded from first use on. A cancel ends an analysis within milliseconds. What it is given outlives
// it.
class VoiceActivityDetector {
 public:
  using Samples = std::shared_ptr<const std::vector<float>>;

  VoiceActivityDetector(VoiceActivityModel& model, VADModelManager& modelManager, const Logging& logging);

  bool isModelLoaded() const { return isModelLoaded_; }
  Task<Result<void, VADError>> loadModel();
  // Mono samples at sampleRate hertz, which the model takes for 16 kHz. In order of time.
  Task<Result<std::vector<TimeRange>, VADError>> analyze(Samples samples, double sampleRate);

 private:
  std::vector<TimeRange> asTimeRanges(const std::vector<VoiceActivitySegment>& segments, double audioDuration) const;

  VoiceActivityModel& model_;
  VADModelManager& modelManager_;
  Logger logger_;
  VoiceActivityParameters parameters_;
  bool isModelLoaded_ = false;
  WorkerPool worker_{1, QStringLiteral("voice.activity")};
};

}  // namespace quillmere
