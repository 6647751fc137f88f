#include "transcripts/TranscriptionRetryController.h"

#include <QFileInfo>
#include <algorithm>

#include "storage/PersistenceController.h"
#include "transcripts/TranscriptRoad.h"

namespace quillmere {

TranscriptionRetryController::TranscriptionRetryController(PersistenceController& persistence, TranscriptRoad& road,
                                                           const Logging& logging)
    : persistence_(persistence), road_(road), logger_(logging.logger(QStringLiteral("TranscriptionRetryController"))) {}

ModePtr TranscriptionRetryController::modeOf(const Transcript& transcript) const {
  if (transcript.modeRelationship) return transcript.modeRelationship;
  if (!transcript.mode) return nullptr;
  const auto modes = persistence_.fetchAllModes();
  const auto found = std::ranges::find(modes, transcript.mode, &Mode::name);
  return found == modes.end() ? nullptr : *found;
}

Task<Result<TranscriptionResult, AnyError>> TranscriptionRetryController::retry(TranscriptPtr transcript,
                                                                                ModePtr forcedMode) {
  if (!transcript->audioFilePath || !QFileInfo(*transcript->audioFilePath).isFile()) {
    logger_.error("Cannot retry transcription: audio file not found at %s",
                  transcript->audioFilePath.value_or(QStringLiteral("nil")));
    co_return Failed{AnyError(TranscriptionError{TranscriptionError::AudioFileNotFound{}})};
  }
  TranscriptJob job;
  job.audioPath = *transcript->audioFilePath;
  job.durationSeconds = transcript->duration.value_or(0);
  job.mode = forcedMode ? forcedMode : modeOf(*transcript);
  job.modeName = transcript->mode.value_or(QString());
  job.source = TranscriptJob::Source::retry;
  if (transcript->status != TranscriptStatus::completed) job.row = transcript;
  const TranscriptOutcome outcome = co_await road_.run(std::move(job));
  if (!outcome.result) {
    logger_.error("❌ Retry failed for transcript: %s", localizedDescription(*outcome.error));
    co_return Failed{*outcome.error};
  }
  logger_.info("✅ Retry successful for transcript %s",
               transcript->id ? transcript->id->toString(QUuid::WithoutBraces) : QStringLiteral("unknown"));
  co_return *outcome.result;
}

}  // namespace quillmere
