#pragma once
#include <QString>
#include <memory>
#include <optional>

#include "base/async/Executor.h"
#include "base/async/SerialGate.h"
#include "base/async/WorkerPool.h"
#include "base/log/Logger.h"
#include "domain/WhisperModel.h"
#include "providers/TranscriptionProvider.h"

namespace quillmere {

class AudioConverter;
class SpeechEngine;
class WhisperContext;
class WhisperModelManager;

// The speech engine on this computer. Keeps one model in memory between transcriptions. Main thread; decoding runs on a
// thread of its own. Transcriptions and loads take turns in their order, so that never two models are in memory and
// each request is decoded with its own.
class LibWhisperProvider final : public TranscriptionProvider {
 public:
  LibWhisperProvider(Executor& executor, SpeechEngine& engine, WhisperModelManager& models, AudioConverter& converter,
                     int processorCount, const Logging& logging);
  ~LibWhisperProvider() override;

  // Decodes with request.model, which it loads if it isn't the one in memory. A cancel of the awaiting task leaves the
  // queue at once and breaks a running decode off within about 100 ms.
  Task<Result<SpeechAnswer, AnyError>> transcribe(SpeechRequest request) override;
  bool isAvailable() const override;
  QString name() const override;

  bool isDownloaded(const QString& modelName) const;
  // False where the engine would refuse the language or take it for another. English-only models take any for English.
  bool canBeAskedFor(const QString& language, const QString& modelName) const;
  // A clear sentence where this processor can't run the engine.
  std::optional<QString> unsupportedProcessor() const;
  // Makes a model resident when the engine's turn has come. A cancelled load leaves no model behind.
  Task<Result<void, AnyError>> loadModel(QString modelName);

 private:
  using Samples = std::shared_ptr<const std::vector<float>>;
  Task<Result<void, AnyError>> makeResident(QString modelName);
  Task<Result<SpeechAnswer, AnyError>> decode(SpeechRequest request);
  Task<Result<Samples, AnyError>> convert(QString audioPath);
  bool isUsable(const QString& text) const;

  Executor& executor_;
  Logger logger_;
  Logging logging_;
  SpeechEngine& engine_;
  WhisperModelManager& models_;
  AudioConverter& converter_;
  int processorCount_;
  WorkerPool worker_;
  SerialGate gate_;
  std::shared_ptr<WhisperContext> whisperContext_;
  std::optional<WhisperCppModel> currentModel_;
  QString loadedFileStamp_;
  bool isModelReady_ = false;
};

}  // namespace quillmere
