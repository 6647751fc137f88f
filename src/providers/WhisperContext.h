#pragma once
#include <QString>
#include <memory>
#include <optional>
#include <vector>

#include "base/Result.h"
#include "base/async/Task.h"
#include "base/async/WorkerPool.h"
#include "base/log/Logger.h"
#include "ports/SpeechEngine.h"

namespace quillmere {

enum class WhisperError { modelLoadFailed, transcriptionFailed, invalidAudioFormat, contextCreationFailed };

// One loaded model and the settings of its next run. Used from the main thread; everything that touches the engine runs
// on the one thread of `worker`, so a load or a release waits for a run that is on.
class WhisperContext {
 public:
  WhisperContext(SpeechEngine& engine, WorkerPool& worker, int processorCount, const Logging& logging);

  // The error is modelLoadFailed; why() says it in words. A cancelled load leaves no model behind.
  Task<Result<void, WhisperError>> load(QString path);
  QString why() const { return why_; }

  void setLanguage(std::optional<QString> language) { language_ = std::move(language); }
  void setPrompt(std::optional<QString> prompt) { prompt_ = std::move(prompt); }
  const std::optional<QString>& language() const { return language_; }

  // Whether the run succeeded. A cancel breaks a run off within about 100 ms and throws Cancelled.
  Task<bool> fullTranscribe(std::shared_ptr<const std::vector<float>> samples16kHz, float temperature, bool translate);
  // The cleaned text of the last run.
  QString getTranscription() const;
  std::optional<QString> detectedLanguage() const;
  // Frees the model.
  Task<void> release();

  // Processor count less 2, at least 1 and at most 8.
  static int threadCount(int processorCount);

 private:
  struct Native;  // what lives on the worker; shared with work that is under way
  struct Outcome {
    std::vector<QByteArray> segments;
    std::optional<QString> detectedLanguage;
  };

  std::shared_ptr<Native> native_;
  WorkerPool& worker_;
  int threads_;
  Logger logger_;
  bool isLoaded_ = false;
  QString why_;
  std::optional<QString> language_;
  std::optional<QString> prompt_;
  Outcome outcome_;
};

}  // namespace quillmere
