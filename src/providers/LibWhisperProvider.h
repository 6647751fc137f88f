#pragma once
#include <QString>
#include <memory>
#include <optional>

#include "base/async/Executor.h"
#include "base/async/SerialGate.h"
#include "base/async/TaskScope.h"
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
// thread of its own. Loads and transcriptions wait for one another, so that never two models are in memory.
class LibWhisperProvider final : public TranscriptionProvider {
 public:
  LibWhisperProvider(Executor& executor, SpeechEngine& engine, WhisperModelManager& models, AudioConverter& converter,
                     int processorCount, const Logging& logging);
  ~LibWhisperProvider() override;

  // cancel(), or a newer call, ends it with streamingInterrupted; a cancel of the calling task throws Cancelled. Either
  // way a running decode is broken off within about 100 ms.
  Task<Result<QString, AnyError>> transcribe(QString audioPath, std::optional<QString> language, ModePtr mode,
                                             std::vector<VocabularyPtr> vocabulary) override;
  bool isAvailable() const override;
  QString name() const override;

  // The model to load just before the next transcription: one of the catalogue, or any other by its name.
  void setModel(WhisperModel model);
  void setModel(const QString& modelName);
  const std::optional<QString>& pendingModel() const { return pendingModel_; }

  bool isDownloaded(const QString& modelName) const;
  // Takes the ".en" sister of the model where that is wanted and on the disk.
  Task<Result<void, AnyError>> load(WhisperModel model, bool englishOnly);
  Task<Result<void, AnyError>> loadModel(QString modelName);
  // Ends the running transcription.
  void cancel();

  const std::optional<WhisperCppModel>& currentModel() const { return currentModel_; }
  bool isModelReady() const { return isModelReady_; }

 private:
  using Samples = std::shared_ptr<const std::vector<float>>;
  Task<Result<QString, AnyError>> decode(QString audioPath, std::optional<QString> language,
                                         std::vector<VocabularyPtr> vocabulary);
  Task<Result<Samples, AnyError>> convert(QString audioPath);
  bool isUsable(const QString& text) const;
  static AnyError interrupted();

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
  std::optional<QString> pendingModel_;
  bool isModelReady_ = false;
  int epoch_ = 0;  // counts calls and cancels: a call whose number is past ends with streamingInterrupted
  TaskHandle<Result<QString, AnyError>> transcriptionTask_;
  TaskScope scope_;  // last: its tasks use the fields above
};

}  // namespace quillmere
