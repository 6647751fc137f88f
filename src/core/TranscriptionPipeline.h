#pragma once
#include <QString>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/Clock.h"
#include "base/Published.h"
#include "base/async/Executor.h"
#include "base/async/TaskScope.h"
#include "base/log/Logger.h"
#include "domain/ModeTypes.h"
#include "domain/States.h"
#include "domain/WhisperModel.h"
#include "providers/Transcriber.h"
#include "providers/TranscriptionResultCache.h"

namespace quillmere {

class AIPostProcessing;
class AppState;
class DefaultsStore;
class ErrorReporting;
class LibWhisperProvider;
class PersistenceController;
class SettingsManager;
class TranscriptionModelManager;
class TranscriptionProviderRouter;
class VocabularyProcessor;
class WorkerPool;

enum class TranscriptionProviderType { local, cloud };
template <>
struct RawValues<TranscriptionProviderType> {
  using E = TranscriptionProviderType;
  static constexpr std::array values{std::pair{E::local, "Local"}, std::pair{E::cloud, "Cloud"}};
};

// What the pipeline works with. Everything outlives the pipeline; the pointers may be null.
struct TranscriptionPipelineServices {
  Executor& executor;
  const Clock& clock;
  PersistenceController& persistence;
  DefaultsStore& defaults;
  VocabularyProcessor& vocabularyProcessor;
  TranscriptionProviderRouter& providerCoordinator;
  TranscriptionModelManager& modelCoordinator;
  WorkerPool& fileWorker;  // reads whole audio files
  LibWhisperProvider* localProvider = nullptr;
  SettingsManager* settingsManager = nullptr;
  AppState* appState = nullptr;
  ErrorReporting* errorReporting = nullptr;
  std::function<bool()> fileTagsApply = {};  // whether spoken file tags apply to the frontmost application
};

// Turns a finished audio file and a mode into a text: chooses the engine, runs it, lets a language model rewrite the
// text where the mode says so. Records, delivers and stores nothing. Main thread.
class TranscriptionPipeline final : public Transcriber {
 public:
  TranscriptionPipeline(TranscriptionPipelineServices services, const Logging& logging);
  ~TranscriptionPipeline() override;

  Task<Result<TranscriptionResult, AnyError>> transcribeWithDetails(TranscriptionRequest request) override;
  void cancelTranscription() override;

  Task<void> prepareModel(ModePtr mode);
  void refreshAvailableModels();
  void updateAPIKey(const QString& key);
  // Null takes it away. Its callbacks go to the application state.
  void setAIPostProcessor(AIPostProcessing* postProcessor);

  const Published<TranscriptionProviderType>& selectedProvider() const { return selectedProvider_; }
  const Published<TranscriptionState>& state() const { return state_; }
  const Published<std::vector<WhisperModel>>& availableModels() const { return availableModels_; }
  const Published<WhisperModel>& selectedModel() const { return selectedModel_; }
  const std::optional<TranscriptionResult>& lastTranscription() const { return lastTranscription_; }
  const TranscriptionResultCache& cache() const { return cache_; }
  // Observers of state(), and of the others, through these.
  [[nodiscard]] Subscription observeState(std::function<void(const TranscriptionState&)> observer);

  QString openAIAPIKey() const;
  QString groqAPIKey() const;
  QString fireworksAPIKey() const;
  bool useOpenAITranscription() const;

 private:
  struct WorkingRecord;
  Task<Result<TranscriptionResult, AnyError>> run(TranscriptionRequest request, std::shared_ptr<WorkingRecord> record);
  void markStage(WorkingRecord& record, const QString& name);
  // Sets the state unless a newer call has taken over.
  void setState(const WorkingRecord& record, TranscriptionState state);
  void reportFailure(WorkingRecord& record, const TranscriptionRequest& request, const AnyError& error);
  // Ends the call: its last state, unless a newer call has taken over.
  void finish(WorkingRecord& record, TranscriptionState state);
  void logPostProcessingCheck(const WorkingRecord& record, const ModePtr& mode, bool needsPostProcessing,
                              int postProcessingMode) const;

  TranscriptionPipelineServices services_;
  Logger logger_;
  Published<TranscriptionProviderType> selectedProvider_{TranscriptionProviderType::local};
  Published<TranscriptionState> state_;
  Published<std::vector<WhisperModel>> availableModels_;
  Published<WhisperModel> selectedModel_{WhisperModel::base};
  std::optional<TranscriptionResult> lastTranscription_;
  TranscriptionResultCache cache_;
  AIPostProcessing* aiPostProcessor_ = nullptr;
  std::shared_ptr<WorkingRecord> currentRecord_;  // of the newest call
  TaskHandle<Result<TranscriptionResult, AnyError>> currentTask_;
  TaskScope scope_;  // last: its tasks use the fields above
};

}  // namespace quillmere
