#pragma once
#include <memory>

#include "app/compose/AbsentUserNotices.h"
#include "app/compose/AudioParts.h"
#include "app/compose/Foundation.h"
#include "app/compose/ModelParts.h"
#include "app/compose/ServiceOptions.h"
#include "app/compose/TranscriptionParts.h"
#include "base/Result.h"
#include "core/AppState.h"
#include "storage/PersistenceController.h"
#include "transcripts/HistorySweeper.h"

namespace quillmere {

// What every program has, in the order in which it is built; it goes in the reverse order. Main thread.
struct Services : Foundation {
  using Foundation::Foundation;

  AbsentUserNotices absentNotices;  // where nobody is to be told
  AudioParts audio;
  ModelParts models;

  // These need the store and are null without one.
  std::unique_ptr<PersistenceController> persistence;
  std::unique_ptr<HistorySweeper> historySweeper;  // started by those who run for long
  std::unique_ptr<TranscriptionParts> transcription;
  std::unique_ptr<AppState> appState;
};

// Fails only when the store can't be opened; the error's description is fit to be shown. What `options` point to
// outlives the result. Needs a QCoreApplication.
Result<std::unique_ptr<Services>, PlatformError> makeServices(const ServiceOptions& options);

}  // namespace quillmere
