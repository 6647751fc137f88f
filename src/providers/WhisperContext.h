#pragma once
#include <QString>
#include <functional>
#include <memory>
#include <optional>

#include "base/Result.h"
#include "base/async/Task.h"
#include "base/async/WorkerPool.h"
#include "base/log/Logger.h"
#include "ports/SpeechEngine.h"

namespace quillmere {

enum class WhisperError { modelLoadFailed, transcriptionFailed, invalidAudioFormat, contextCreationFailed };

// What one run decodes, and how.
struct WhisperRun {
  SpeechSamples samples16kHz;
  std::optional<QString> language;  // none: the run only names it and gives no text
  std::optional<QString> prompt;
  float temperature = 0;
  bool translate = false;
  std::function<void(float)> onProgress;  // main thread; not after the run
};

struct WhisperRunResult {
  bool succeeded = false;
  QString text;  // cleaned
  std::optional<QString> detectedLanguage;
};

// One loaded model. Used from the main thread; everything that touches the engine runs on the one thread of `worker`,
// so a load or a release waits for a run that is on.
class WhisperContext {
 public:
  WhisperContext(SpeechEngine& engine, WorkerPool& worker, int processorCount, const Logging& logging);

  // The error is modelLoadFailed; why() says it in words. A cancelled load leaves no model behind.
  Task<Result<void, WhisperError>> load(QString path);
  QString why() const { return why_; }

  // A cancel breaks a run off within about 100 ms and throws Cancelled.
  Task<WhisperRunResult> fullTranscribe(WhisperRun run);
  // Frees the model.
  Task<void> release();

  // Processor count less 2, but at least 4 where there are as many, and at most 8.
  static int threadCount(int processorCount);

 private:
  struct Native;  // what lives on the worker; shared with work that is under way
  QString cleanedText(const std::vector<QByteArray>& segments) const;

  std::shared_ptr<Native> native_;
  WorkerPool& worker_;
  int threads_;
  Logger logger_;
  bool isLoaded_ = false;
  QString why_;
};

}  // namespace quillmere
