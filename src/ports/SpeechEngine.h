#pragma once
#include <QByteArray>
#include <QString>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/Result.h"
#include "domain/Errors.h"

namespace quillmere {

// What one run of a speech engine is told. Texts are UTF-8.
struct SpeechRunParameters {
  int threads = 1;
  bool translate = false;                   // into English
  std::optional<QByteArray> language;       // "de"; none: the engine's own default or detection
  std::optional<QByteArray> initialPrompt;  // words the engine should expect
  bool detectLanguage = false;              // only names the language, gives no segments
  float temperature = 0;                    // of the first try; the engine goes up in steps of 0.2 where a try fails
  // How far the run is, 0 to 1. Called on the engine's thread, also a little after a run that was broken off.
  std::function<void(float)> onProgress;
};

// Mono samples at 16 kHz in [-1, 1]. Shared, since a run that was broken off may let go of them a little later.
using SpeechSamples = std::shared_ptr<const std::vector<float>>;

// One loaded model. Used by one thread at a time, from any thread; destroying it frees the model and must not happen
// while run() is on.
class SpeechEngineContext {
 public:
  virtual ~SpeechEngineContext() = default;
  // Decodes the samples; blocks until done. False when the engine failed or `stop` became true, which ends a run within
  // about 100 ms wherever it is; the context stays usable. What the engine can't leave at once (the spectrogram of a
  // long file) it finishes by itself; the next run and the destructor wait for that. The results below are those of the
  // last run.
  virtual bool run(SpeechSamples samples16kHz, const SpeechRunParameters& parameters,
                   const std::atomic<bool>& stop) = 0;
  virtual int segmentCount() const = 0;
  // Text of segment 0 .. segmentCount() - 1, usually with a leading blank; empty outside of that range.
  virtual QByteArray segmentText(int segment) const = 0;
  // The language of the last run ("de"), whether detected or given; none before a run.
  virtual std::optional<QByteArray> detectedLanguage() const = 0;
};

// Loads speech models. Any thread.
class SpeechEngine {
 public:
  virtual ~SpeechEngine() = default;
  // Reads a whole model file, which takes from 50 ms to seconds. The file is checked before the engine's library sees
  // it: a missing, foreign, truncated or damaged one gives an error whose description is a clear sentence.
  virtual Result<std::unique_ptr<SpeechEngineContext>, PlatformError> load(const QString& modelPath) = 0;
  // A clear sentence where this processor lacks what the engine was built for; none where the engine can run.
  virtual std::optional<QString> unsupportedProcessor() const = 0;
};

}  // namespace quillmere
