#pragma once
#include <QString>
#include <functional>
#include <optional>
#include <vector>

#include "base/Result.h"
#include "base/async/Task.h"
#include "domain/Entities.h"
#include "domain/Errors.h"

namespace quillmere {

struct ApplicationContext;

struct PostProcessingRequest {
  QString text;
  ModePtr mode;
  std::vector<VocabularyPtr> vocabulary;
  bool developerModeEnabled = false;
  bool developerToolActive = false;
  const ApplicationContext* applicationContext = nullptr;  // outlives the request
  std::optional<QString> selectedText;
};

struct PostProcessingCallbacks {
  std::function<void(bool)> onStreamingStateChange;
  std::function<void(const QString&)> onStreamingTextUpdate;
  std::function<void(const TranscriptionError&)> onPostProcessingError;
};

// The language model behind a transcript. Main thread; cancelling the task breaks the request off.
class AIPostProcessing {
 public:
  virtual ~AIPostProcessing() = default;
  virtual void setCallbacks(PostProcessingCallbacks callbacks) = 0;
  virtual Task<Result<QString, AnyError>> postProcessStreaming(PostProcessingRequest request) = 0;
};

}  // namespace quillmere
