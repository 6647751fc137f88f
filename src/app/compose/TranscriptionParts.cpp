#include "app/compose/TranscriptionParts.h"

#include <QThread>

#include "app/compose/AudioParts.h"
#include "app/compose/Foundation.h"
#include "app/compose/ModelParts.h"

namespace quillmere {
namespace {

void buildEngines(TranscriptionParts& p, Foundation& f, AudioParts& audio, ModelParts& models,
                  PersistenceController& persistence, UserNotices& notices) {
  const int processors = QThread::idealThreadCount();
  p.localProvider = std::make_unique<LibWhisperProvider>(*f.executor, *f.ports.speechEngine, *models.manager,
                                                         *audio.converter, processors, f.logging);
  TranscriptionEngines engines;
  engines.localProvider = p.localProvider.get();
  p.router = std::make_unique<TranscriptionProviderRouter>(engines, *f.ports.network, f.appLogger.get(), f.logging);
  TranscriptionModelServices services;
  services.localProvider = p.localProvider.get();
  services.notices = &notices;
  services.errorReporting = f.appLogger.get();
  p.models = std::make_unique<TranscriptionModelManager>(services, persistence, processors, f.logging);
  p.modelPreparation = std::make_unique<ModelPreparation>(*f.executor, persistence, *p.models, f.logging);
}

void buildRoad(TranscriptionParts& p, Foundation& f, AudioParts& audio, PersistenceController& persistence) {
  TranscriptionPipelineServices services{*f.executor, *f.clock,  persistence,   *f.settings, *p.vocabularyProcessor,
                                         *p.router,   *p.models, *f.fileWorkers};
  services.errorReporting = f.appLogger.get();
  p.pipeline = std::make_unique<TranscriptionPipeline>(std::move(services), f.logging);
  p.road = std::make_unique<PipelineTranscriptRoad>(
      PipelineTranscriptRoad::Services{*f.clock, persistence, *f.settings, *audio.silenceTrimming, *p.pipeline},
      f.logging);
}

}  // namespace

std::unique_ptr<TranscriptionParts> makeTranscriptionParts(Foundation& foundation, AudioParts& audio,
                                                           ModelParts& models, PersistenceController& persistence,
                                                           UserNotices& notices, Duration completionLinger) {
  const Logging& logging = foundation.logging;
  auto parts = std::make_unique<TranscriptionParts>();
  parts->vocabularyProcessor = std::make_unique<VocabularyProcessor>(persistence, logging);
  buildEngines(*parts, foundation, audio, models, persistence, notices);
  buildRoad(*parts, foundation, audio, persistence);
  parts->retry = std::make_unique<TranscriptionRetryController>(persistence, *parts->road, logging);
  FileTranscriptionFlow::Dependencies flow{*foundation.executor, *foundation.clock,    *foundation.fileWorkers,
                                           persistence,          *foundation.settings, *audio.fileConverter,
                                           *parts->road};
  flow.completionLinger = completionLinger;
  parts->fileFlow = std::make_unique<FileTranscriptionFlow>(flow, logging);
  return parts;
}

}  // namespace quillmere
