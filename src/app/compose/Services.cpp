#include "app/compose/Services.h"

#include "platform/linux/ProcessIdentity.h"

namespace quillmere {

Result<std::unique_ptr<Services>, PlatformError> makeServices(const ServiceOptions& options) {
  auto services = std::make_unique<Services>(options);
  Services& s = *services;
  s.audio = makeAudioParts(s);
  s.models = makeModelParts(s);
  if (!options.opensStore) return services;

  auto store = PersistenceController::open(s.paths.storeFile, *s.clock, s.logging, s.appLogger.get(),
                                           QTimeZone::systemTimeZone(), {s.executor.get(), thisProcessIdentity()});
  if (!store) return Failed{store.error()};
  s.persistence = std::move(*store);
  HistorySweeper::Dependencies sweeper{*s.persistence, *s.executor, *s.fileWorkers, *s.clock, isProcessAlive};
  s.historySweeper = std::make_unique<HistorySweeper>(std::move(sweeper), s.logging);
  UserNotices& notices = options.notices != nullptr ? *options.notices : s.absentNotices;
  s.transcription = makeTranscriptionParts(s, s.audio, s.models, *s.persistence, notices, options.completionLinger);
  AppState::Dependencies state{*s.executor,      *s.defaults, *s.settings,           *s.persistence,
                               *s.ports.network, notices,     options.showModeChange};
  s.appState = std::make_unique<AppState>(std::move(state), s.logging);
  return services;
}

}  // namespace quillmere
