#pragma once
#include <QString>
#include <functional>
#include <vector>

#include "base/Published.h"
#include "base/async/Task.h"
#include "base/log/Logger.h"
#include "domain/Entities.h"
#include "domain/States.h"
#include "domain/WhisperModel.h"

namespace quillmere {

class ErrorReporting;
class GemmaRuntime;
class LibWhisperProvider;
class ParakeetEngine;
class PersistenceController;
class Transcriber;
class UserNotices;

// Everything outlives the manager; null means "not in this build or session".
struct TranscriptionModelServices {
  LibWhisperProvider* localProvider = nullptr;
  ParakeetEngine* parakeet = nullptr;
  GemmaRuntime* gemmaRuntime = nullptr;
  UserNotices* notices = nullptr;
  ErrorReporting* errorReporting = nullptr;
};

// Keeps the list of the local models on the disk, makes the right one resident when a mode is selected, and starts or
// stops the local language model. Main thread. A cancelled preparation ends quietly and throws nothing.
class TranscriptionModelManager {
 public:
  TranscriptionModelManager(TranscriptionModelServices services, PersistenceController& persistence,
                            QString modelsDirectory, int processorCount, const Logging& logging);

  void setOnStateChange(std::function<void(const TranscriptionState&)> callback) {
    onStateChange_ = std::move(callback);
  }

  // `pipeline` may be null; it outlives the task.
  Task<void> prepareModel(ModePtr mode, TranscriptionState state, Transcriber* pipeline);
  void checkAvailableModels();
  Task<void> preloadBase(bool englishOnly);
  Task<void> ensureGemmaRuntime(ModePtr mode);
  // By the text of a mode's identifier.
  Task<void> ensureGemmaRuntime(QString modeId);

  const Published<std::vector<WhisperModel>>& availableModels() const { return availableModels_; }
  const Published<WhisperModel>& selectedModel() const { return selectedModel_; }

 private:
  struct LoadOutcome;
  Task<LoadOutcome> loadQuietly(QString modelName, bool englishOnly);
  Task<void> switchModel(QString modelName, ModePtr mode);
  void tellState(TranscriptionState state) const;

  TranscriptionModelServices services_;
  PersistenceController& persistence_;
  QString modelsDirectory_;
  int processorCount_;
  Logger logger_;
  std::function<void(const TranscriptionState&)> onStateChange_;
  Published<std::vector<WhisperModel>> availableModels_;
  Published<WhisperModel> selectedModel_{WhisperModel::base};
};

}  // namespace quillmere
