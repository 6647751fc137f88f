#pragma once
#include <QString>
#include <functional>
#include <optional>
#include <vector>

#include "base/Result.h"
#include "base/async/Task.h"
#include "domain/ApplicationContext.h"
#include "domain/Entities.h"
#include "domain/Errors.h"

namespace quillmere {

// What a call tells while it is under way. Main thread; not after the call's end. Each may be empty.
struct PostProcessingCallbacks {
  std::function<void(bool)> onStreamingStateChange;
  std::function<void(const QString&)> onStreamingTextUpdate;
  // What the user has to act on; the text stands as it was all the same.
  std::function<void(const TranscriptionError&)> onPostProcessingError;
};

struct PostProcessingRequest {
  QString text;
  ModePtr mode;
  std::vector<VocabularyPtr> vocabulary;
  bool developerModeEnabled = false;
  bool developerToolActive = false;
  std::optional<ApplicationContext> applicationContext;
  std::optional<QString> selectedText;
  PostProcessingCallbacks callbacks;
};

// The language model that rewrites a transcript. Main thread; cancelling the task breaks the request off. Keeps nothing
// of a call after it.
class AIPostProcessing {
 public:
  virtual ~AIPostProcessing() = default;
  virtual Task<Result<QString, AnyError>> postProcessStreaming(PostProcessingRequest request) = 0;
};

}  // namespace quillmere
