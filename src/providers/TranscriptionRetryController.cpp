#include "providers/TranscriptionRetryController.h"

#include <QFileInfo>
#include <algorithm>

#include "audio/VADProcessing.h"
#include "base/async/CancelToken.h"
#include "providers/Transcriber.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"

namespace quillmere {
namespace {

AnyError failure(TranscriptionError::Case kind) {
  return TranscriptionError{std::move(kind)};
}

QString identifierOf(const TranscriptPtr& transcript) {
  return transcript->id ? transcript->id->toString(QUuid::WithoutBraces) : QStringLiteral("unknown");
}

}  // namespace

TranscriptionRetryController::TranscriptionRetryController(PersistenceController& persistence,
                                                           const SettingsManager* settings, VADProcessing* vad,
                                                           const Clock& clock, const Logging& logging)
    : persistence_(persistence),
      settings_(settings),
      vad_(vad),
      clock_(clock),
      logger_(logging.logger(QStringLiteral("TranscriptionRetryController"))) {}

Task<Result<TranscriptionResult, AnyError>> TranscriptionRetryController::retry(TranscriptPtr transcript,
                                                                                ModePtr forcedMode) {
  if (!transcript->audioFilePath || !QFileInfo(*transcript->audioFilePath).isFile()) {
    logger_.error("Cannot retry transcription: audio file not found at %s",
                  transcript->audioFilePath.value_or(QStringLiteral("nil")));
    co_return Failed{failure(TranscriptionError::AudioFileNotFound{})};
  }

  ModePtr mode = forcedMode;
  if (!mode) mode = transcript->modeRelationship;
  if (!mode && transcript->mode) {
    const auto modes = persistence_.fetchAllModes();
    const auto found =
        std::find_if(modes.begin(), modes.end(), [&](const ModePtr& m) { return m->name == transcript->mode; });
    if (found != modes.end()) mode = *found;
  }

  transcript->status = QStringLiteral("processing");
  transcript->failedReason.reset();
  transcript->retryCount = static_cast<qint16>(transcript->retryCount.value_or(0) + 1);
  transcript->lastRetryDate = clock_.now();
  persistence_.save();

  auto work = run(transcript, mode);
  std::optional<Result<TranscriptionResult, AnyError>> outcome;
  try {
    outcome.emplace(co_await std::move(work));
  } catch (const Cancelled&) {
    markFailed(transcript, localizedDescription(TranscriptionError{TranscriptionError::StreamingInterrupted{}}));
    throw;
  }
  if (!*outcome) {
    markFailed(transcript, localizedDescription(outcome->error()));
    co_return std::move(*outcome);
  }

  const TranscriptionResult& result = outcome->value();
  transcript->text = result.wasPostProcessed ? result.text : result.rawText;
  transcript->status = QStringLiteral("completed");
  transcript->transcribedText = result.rawText;
  if (result.wasPostProcessed) transcript->postProcessedText = result.text;
  transcript->transcriptionProvider = result.provider;
  if (result.postProcessingProvider) transcript->postProcessingProvider = result.postProcessingProvider;
  persistence_.save();
  logger_.info("✅ Retry successful for transcript %s", identifierOf(transcript));
  co_return std::move(*outcome);
}

Task<Result<TranscriptionResult, AnyError>> TranscriptionRetryController::run(TranscriptPtr transcript, ModePtr mode) {
  VADProcessingResult audio;
  audio.originalAudioPath = *transcript->audioFilePath;
  audio.finalAudioPath = audio.originalAudioPath;
  if (vad_ != nullptr) {
    const bool isEnabled = settings_ != nullptr && settings_->general().enableVAD();
    auto processing =
        vad_->process(audio.originalAudioPath, transcript->duration.value_or(0), isEnabled, QStringLiteral("Retry"));
    audio = co_await std::move(processing);
  }
  if (transcriber_ == nullptr)
    co_return Failed{failure(
        TranscriptionError::ProviderNotAvailable{std::nullopt, QStringLiteral("Transcription manager not available")})};

  TranscriptionRequest request;
  request.audioPath = audio.finalAudioPath;
  request.mode = mode;
  request.recordingSession = transcript->recordingSession;
  auto transcribing = transcriber_->transcribeWithDetails(std::move(request));
  auto result = co_await std::move(transcribing);
  if (result && audio.wasProcessed && audio.trimResult) {
    transcript->audioFilePath = audio.finalAudioPath;
    logger_.info("📝 [Retry] Saved trimmed audio path to transcript");
  }
  co_return result;
}

void TranscriptionRetryController::markFailed(const TranscriptPtr& transcript, const QString& description) {
  transcript->status = QStringLiteral("failed");
  transcript->failedReason = description;
  transcript->text = QStringLiteral("Retry failed: ") + description;
  persistence_.save();
  logger_.error("❌ Retry failed for transcript: %s", description);
}

}  // namespace quillmere
