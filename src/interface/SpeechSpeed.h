#pragma once
#include <QString>
#include <optional>

#include "base/async/Executor.h"
#include "base/async/Task.h"
#include "base/async/WorkerPool.h"

namespace quillmere {

class AudioConverter;
class SpeechEngine;

// How fast speech becomes text on this machine: writes down a recording with as many threads as a dictation gets. Main
// thread; everything outlives it. A cancel ends the engine's run within about 100 ms.
class SpeechSpeed {
 public:
  struct Services {
    SpeechEngine& engine;
    AudioConverter& converter;
    WorkerPool& workers;
    Executor& executor;
    QString sampleFile;  // a recording of some seconds of speech
  };
  explicit SpeechSpeed(Services services) : services_(std::move(services)) {}

  // Seconds for a minute of speech with the model of this file, its loading apart. Nothing when it can't be measured.
  Task<std::optional<double>> secondsPerMinute(QString modelFile);

 private:
  Services services_;
};

}  // namespace quillmere
