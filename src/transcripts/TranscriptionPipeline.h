#pragma once
#include <QString>
#include <functional>
#include <optional>
#include <vector>

#include "base/Clock.h"
#include "base/Published.h"
#include "base/async/Executor.h"
#include "base/async/TaskScope.h"
#include "base/log/Logger.h"
#include "domain/ModeTypes.h"
#include "domain/States.h"
#include "providers/SpeechRequest.h"
#include "transcripts/Transcriber.h"
#include "transcripts/TranscriptionResultCache.h"

namespace quillmere {

class AIPostProcessing;
class ErrorReporting;
class PersistenceController;
class SettingsManager;
class TranscriptionModelManager;
class TranscriptionProviderRouter;
class TranscriptionReport;
class VocabularyProcessor;
class WorkerPool;

// What the pipeline works with. Everything outlives the pipeline; the pointers may be null.
struct TranscriptionPipelineServices {
  Executor& executor;
  const Clock& clock;
  PersistenceController& persistence;
  SettingsManager& settings;
  VocabularyProcessor& vocabularyProcessor;
  TranscriptionProviderRouter& providerCoordinator;
  TranscriptionModelManager& modelCoordinator;
  WorkerPool& fileWorker;  // reads whole audio files
  AIPostProcessing* aiPostProcessor = nullptr;
  ErrorReporting* errorReporting = nullptr;
  std::function<bool()> fileTagsApply = {};  // whether spoken file tags apply to the frontmost application
};

// Turns a finished audio file and a mode into a text: chooses the engine, asks it, lets a language model rewrite the
// text where the mode says so. Records, delivers and stores nothing. Main thread; outlives the tasks that await a call.
class TranscriptionPipeline final : public Transcriber {
 public:
  TranscriptionPipeline(TranscriptionPipelineServices services, const Logging& logging);
  ~TranscriptionPipeline() override;

  Task<Result<TranscriptionResult, AnyError>> transcribeWithDetails(TranscriptionRequest request) override;

  // Of the newest call that runs; without one, how the last ended, or what the preparation of a model tells.
  const Published<TranscriptionState>& state() const { return state_; }
  [[nodiscard]] Subscription observeState(std::function<void(const TranscriptionState&)> observer);
  const TranscriptionResultCache& cache() const { return cache_; }

 private:
  class Call;
  // Whether and by whom a text is rewritten.
  struct Rewriting {
    PostProcessingMode mode = PostProcessingMode::off;
    QString provider;  // as the mode names it
    bool isWanted = false;
  };
  Task<Result<TranscriptionResult, AnyError>> run(const TranscriptionRequest& request, Call& call,
                                                  TranscriptionReport& report);
  Task<Result<QString, AnyError>> rewrite(const TranscriptionRequest& request, QString text,
                                          std::vector<VocabularyPtr> vocabulary);
  Rewriting rewritingOf(const ModePtr& mode, bool isHosted, bool isRewrittenByService) const;
  void markStage(TranscriptionReport& report, const char* name);
  void reportFailure(const TranscriptionReport& report, const TranscriptionRequest& request, const AnyError& error);
  void logPostProcessingCheck(const Rewriting& rewriting, const ModePtr& mode) const;
  Task<void> remember(QString audioPath, QString text);

  TranscriptionPipelineServices services_;
  Logger logger_;
  Published<TranscriptionState> state_;
  TranscriptionResultCache cache_;
  std::vector<Call*> calls_;  // those that run, the newest last
  TaskScope scope_;           // last: its tasks use the fields above
};

}  // namespace quillmere
