#pragma once
#include <memory>

#include "base/Clock.h"
#include "files/FileTranscriptionFlow.h"
#include "postprocessing/VocabularyProcessor.h"
#include "providers/LibWhisperProvider.h"
#include "providers/TranscriptionModelManager.h"
#include "providers/TranscriptionProviderRouter.h"
#include "transcripts/ModelPreparation.h"
#include "transcripts/PipelineTranscriptRoad.h"
#include "transcripts/TranscriptionPipeline.h"
#include "transcripts/TranscriptionRetryController.h"

namespace quillmere {

struct AudioParts;
struct Foundation;
struct ModelParts;
class PersistenceController;
class UserNotices;

// The road from audio to a row and its text, with the engines that it asks and the flows that everybody takes it by.
// Main thread.
struct TranscriptionParts {
  std::unique_ptr<VocabularyProcessor> vocabularyProcessor;
  std::unique_ptr<LibWhisperProvider> localProvider;
  std::unique_ptr<TranscriptionProviderRouter> router;
  std::unique_ptr<TranscriptionModelManager> models;
  std::unique_ptr<ModelPreparation> modelPreparation;
  std::unique_ptr<TranscriptionPipeline> pipeline;
  std::unique_ptr<TranscriptRoad> road;
  std::unique_ptr<TranscriptionRetryController> retry;
  std::unique_ptr<FileTranscriptionFlow> fileFlow;
};

// All arguments outlive the result. `completionLinger`: how long a finished progress display stays up.
std::unique_ptr<TranscriptionParts> makeTranscriptionParts(Foundation& foundation, AudioParts& audio,
                                                           ModelParts& models, PersistenceController& persistence,
                                                           UserNotices& notices, Duration completionLinger);

}  // namespace quillmere
