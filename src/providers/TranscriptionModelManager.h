#pragma once
#include <QString>
#include <functional>
#include <optional>

#include "base/async/Task.h"
#include "base/log/Logger.h"
#include "domain/Entities.h"
#include "domain/States.h"

namespace quillmere {

class ErrorReporting;
class GemmaRuntime;
class LibWhisperProvider;
class ParakeetEngine;
class PersistenceController;
class UserNotices;

// Everything outlives the manager; null means "not in this build or desktop session".
struct TranscriptionModelServices {
  LibWhisperProvider* localProvider = nullptr;
  ParakeetEngine* parakeet = nullptr;
  GemmaRuntime* gemmaRuntime = nullptr;
  UserNotices* notices = nullptr;
  ErrorReporting* errorReporting = nullptr;
};

// Makes the right local model resident when a mode is selected, and starts or stops the local language model. Main
// thread. A preparation waits for its turn at the engine and ends no transcription. A cancelled one ends quietly and
// throws nothing.
class TranscriptionModelManager {
 public:
  TranscriptionModelManager(TranscriptionModelServices services, PersistenceController& persistence, int processorCount,
                            const Logging& logging);

  void setOnStateChange(std::function<void(const TranscriptionState&)> callback) {
    onStateChange_ = std::move(callback);
  }

  Task<void> prepareModel(ModePtr mode);
  Task<void> preloadBase(std::optional<QString> language);
  Task<void> ensureGemmaRuntime(ModePtr mode);
  // By the text of a mode's identifier.
  Task<void> ensureGemmaRuntime(QString modeId);

 private:
  struct LoadOutcome;
  Task<LoadOutcome> loadQuietly(QString modelName);
  Task<void> switchModel(QString modelName, ModePtr mode);
  bool isDownloaded(const QString& modelName) const;
  void tellState(const TranscriptionState& state) const;

  TranscriptionModelServices services_;
  PersistenceController& persistence_;
  int processorCount_;
  Logger logger_;
  std::function<void(const TranscriptionState&)> onStateChange_;
};

}  // namespace quillmere
