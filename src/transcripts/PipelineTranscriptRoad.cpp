#include "transcripts/PipelineTranscriptRoad.h"

#include <QFile>

#include "audio/VADProcessing.h"
#include "base/async/Await.h"
#include "base/async/CancelToken.h"
#include "base/text/LocalizedText.h"
#include "domain/ModeData.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "transcripts/Transcriber.h"
#include "transcripts/TranscriptRow.h"

namespace quillmere {
namespace {

using Source = TranscriptJob::Source;
using Stage = TranscriptJob::Stage;

QString labelOf(Source source) {
  switch (source) {
    case Source::recording:
      return QStringLiteral("Recording");
    case Source::file:
      return QStringLiteral("FileImport");
    case Source::retry:
      break;
  }
  return QStringLiteral("Retry");
}

QString failedText(Source source, const QString& reason) {
  return source == Source::retry ? QStringLiteral("Retry failed: ") + reason : failedTranscriptText(reason);
}

bool isForService(const ModePtr& mode) {
  return mode && providerTypeOfModel(mode->model.value_or(QString()).toLower()) == ProviderType::cloud;
}

void enter(const TranscriptJob& job, Stage stage) {
  if (job.onStage) job.onStage(stage);
}

}  // namespace

// The row while its job is under way. However the job ends, the row leaves "processing", and a trimmed file whose row
// was deleted meanwhile goes with it.
class PipelineTranscriptRoad::RowUnderWay {
 public:
  RowUnderWay(PersistenceController& persistence, TranscriptPtr row, Source source)
      : persistence_(persistence), row_(std::move(row)), source_(source) {}
  RowUnderWay(const RowUnderWay&) = delete;
  RowUnderWay& operator=(const RowUnderWay&) = delete;
  ~RowUnderWay() {
    if (!isSettled_) fail(localizedText("recording.error.closedBeforeTranscription"));
    if (!row_ || !row_->id || !row_->trimmedAudioFilePath) return;
    if (!persistence_.fetchTranscript(row_->id->toString(QUuid::WithoutBraces)))
      QFile::remove(*row_->trimmedAudioFilePath);
  }

  void complete(const TranscriptionResult& result) {
    if (row_) completeTranscript(*row_, result);
    settle();
  }
  void fail(const QString& reason) {
    if (row_) failTranscript(*row_, reason, failedText(source_, reason));
    settle();
  }

 private:
  void settle() {
    isSettled_ = true;
    if (row_) persistence_.save();
  }

  PersistenceController& persistence_;
  TranscriptPtr row_;
  Source source_;
  bool isSettled_ = false;
};

// A smaller copy of the audio for a service, gone with its upload.
class PipelineTranscriptRoad::UploadCopy {
 public:
  UploadCopy() = default;
  UploadCopy(const UploadCopy&) = delete;
  UploadCopy& operator=(const UploadCopy&) = delete;
  ~UploadCopy() {
    if (!path.isEmpty()) QFile::remove(path);
  }

  QString path;
};

PipelineTranscriptRoad::PipelineTranscriptRoad(Services services, const Logging& logging)
    : use_(services), logger_(logging.logger(QStringLiteral("TranscriptRoad"))) {}

Task<TranscriptOutcome> PipelineTranscriptRoad::run(TranscriptJob job) {
  TranscriptOutcome outcome;
  if (!job.isWithoutRow) outcome.row = beginRow(job);
  RowUnderWay row(use_.persistence, outcome.row, job.source);
  if (outcome.row && job.onRow) job.onRow(outcome.row);
  try {
    co_await takeJob(job, outcome);
  } catch (const Cancelled&) {
    logger_.info("❌ Transcription cancelled (no error shown)");
    row.fail(localizedText("transcript.failed.cancelled"));
    throw;
  }
  if (outcome.result) {
    row.complete(*outcome.result);
    logger_.info("✅ Updated transcript with transcription");
  } else {
    const QString reason = localizedDescription(*outcome.error);
    logger_.error("❌ Transcription error: %@", reason);
    row.fail(reason);
  }
  co_return outcome;
}

TranscriptPtr PipelineTranscriptRoad::beginRow(const TranscriptJob& job) {
  if (job.session) job.session->status.reset();  // settled: written together with the row
  if (const TranscriptPtr row = job.row) {
    row->status = QStringLiteral("processing");
    row->failedReason.reset();
    row->retryCount = static_cast<qint16>(row->retryCount.value_or(0) + 1);
    row->lastRetryDate = use_.clock.now();
    use_.persistence.save();
    return row;
  }
  const QString modeName = job.mode ? job.mode->name.value_or(job.modeName) : job.modeName;
  const TranscriptPtr row = use_.persistence.createTranscript(job.durationSeconds, modeName, job.audioPath);
  row->recordingSession = job.session;
  // A mode that is renamed later is still found.
  if (job.mode && job.mode->id) row->modeRelationship = use_.persistence.fetchMode(*job.mode->id);
  if (row->recordingSession || row->modeRelationship) use_.persistence.save();
  logger_.info("💾 Created processing transcript: duration=%fs, mode=%s", job.durationSeconds, modeName);
  return row;
}

Task<void> PipelineTranscriptRoad::takeJob(const TranscriptJob& job, TranscriptOutcome& outcome) {
  Executor& executor = co_await currentExecutor();
  const TimePoint begin = executor.now();
  UploadCopy copy;
  TranscriptionRequest request;
  request.audioPath = job.audioPath;
  if (outcome.row) {
    enter(job, Stage::trimming);
    request.audioPath = co_await trim(job, outcome.row);
    request.audioPath = co_await compress(job, request.audioPath, copy);
    outcome.trimming = executor.now() - begin;
  }

  enter(job, Stage::transcribing);
  request.mode = job.mode;
  request.recordingSession = job.session ? job.session : outcome.row ? outcome.row->recordingSession : nullptr;
  request.applicationContext = job.applicationContext;
  request.selectedText = job.selectedText;
  request.onRewriting = [&job] { enter(job, Stage::rewriting); };
  request.onRewrittenText = job.onRewrittenText;
  request.onRewritingProblem = job.onRewritingProblem;
  request.onProgress = job.onProgress;
  outcome.decodingBegan = executor.now();
  const auto transcribed = co_await use_.transcriber.transcribeWithDetails(std::move(request));
  if (!transcribed) {
    outcome.error = transcribed.error();
    co_return;
  }
  outcome.result = *transcribed;
  outcome.result->duration = job.durationSeconds;
  outcome.decodingBegan = transcribed->timings.decodingBegan;
  outcome.decoding = transcribed->timings.decoding;
  outcome.rewriting = transcribed->timings.rewriting;
}

// The file to transcribe. What was trimmed belongs to the row, beside the recording.
Task<QString> PipelineTranscriptRoad::trim(const TranscriptJob& job, const TranscriptPtr& row) {
  const VADProcessingResult trimmed = co_await use_.vad.process(
      job.audioPath, job.durationSeconds, use_.settings.general().enableVAD(), labelOf(job.source));
  const QString& path = trimmed.finalAudioPath;
  if (path == job.audioPath) co_return path;
  const std::optional<QString> older = row->trimmedAudioFilePath;
  use_.persistence.setTrimmedAudioPath(row, path);
  if (older && *older != path && *older != row->audioFilePath) QFile::remove(*older);
  logger_.info("📝 Saved trimmed audio path to transcript: %{public}s", path);
  co_return path;
}

// A local engine reads the WAV as it is. What goes to a service has to be small; a file from elsewhere was checked
// against the service's limit and is sent as it came.
Task<QString> PipelineTranscriptRoad::compress(const TranscriptJob& job, QString path, UploadCopy& copy) {
  if (!isForService(job.mode) || (job.source == Source::file && path == job.audioPath)) co_return path;
  const QString compressed = co_await use_.vad.compressLargeWav(path, labelOf(job.source));
  if (compressed != path) copy.path = compressed;
  co_return compressed;
}

}  // namespace quillmere
