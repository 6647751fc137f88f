#include "transcripts/TranscriptionReport.h"

#include <QFileInfo>
#include <chrono>

namespace quillmere {
namespace {

constexpr double expectedFailureSampleRate = 0.05;

qint64 wholeMilliseconds(Duration duration) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(duration).count();
}

QString nil() {
  return QStringLiteral("nil");
}

}  // namespace

TranscriptionReport::TranscriptionReport(const ModePtr& mode, TimePoint start)
    : modelString_(mode && mode->model ? *mode->model : QStringLiteral("base")),
      modeName_(mode ? mode->name.value_or(nil()) : nil()),
      startTime_(start),
      stageStartTime_(start) {}

QString TranscriptionReport::timelineEntry(TimePoint now) const {
  return QStringLiteral("%1=%2ms@%3ms")
      .arg(currentStage_)
      .arg(wholeMilliseconds(now - stageStartTime_))
      .arg(wholeMilliseconds(now - startTime_));
}

Breadcrumb TranscriptionReport::markStage(const QString& name, TimePoint now) {
  stageTimeline_.append(timelineEntry(now));
  currentStage_ = name;
  stageStartTime_ = now;
  return {QStringLiteral("transcription_stage"),
          QStringLiteral("transcription"),
          ReportLevel::info,
          {{QStringLiteral("stage"), name}, {QStringLiteral("totalMs"), wholeMilliseconds(now - startTime_)}}};
}

ReportOptions TranscriptionReport::failure(const AnyError& error, const ReportedFile& file, const QString& state,
                                           const RecordingSessionPtr& session, TimePoint now) const {
  const ErrorClassification classification = classify(error);
  const auto sessionId = session ? session->id : std::nullopt;
  const QString extension = QFileInfo(file.path).suffix();
  ReportOptions options;
  options.message = QStringLiteral("TranscriptionPipeline.transcribeWithDetails failed");
  options.extra = {
      {QStringLiteral("actualProvider"), actualProvider},
      {QStringLiteral("modelString"), modelString_},
      {QStringLiteral("useCloud"), modelString_.toLower() == QLatin1String("cloud")},
      {QStringLiteral("modeName"), modeName_},
      {QStringLiteral("language"), language},
      {QStringLiteral("postProcessingMode"), postProcessingMode},
      {QStringLiteral("postProcessingProvider"), postProcessingProvider},
      {QStringLiteral("shouldRunPostProcessing"), shouldRunPostProcessing},
      {QStringLiteral("isQuillmereTranscription"), isQuillmereTranscription},
      {QStringLiteral("audioFilePath"), file.path},
      {QStringLiteral("fileExists"), file.exists},
      {QStringLiteral("fileReadable"), file.isReadable},
      {QStringLiteral("fileSizeBytes"), file.sizeBytes},
      {QStringLiteral("fileExtension"), extension},
      {QStringLiteral("usedCAFFallback"), extension.toLower() == QLatin1String("caf")},
      {QStringLiteral("errorType"), errorTypeName(error)},
      {QStringLiteral("errorDomain"), errorDomain(error)},
      {QStringLiteral("errorCode"), errorCode(error)},
      {QStringLiteral("errorCategory"), classification.category},
      {QStringLiteral("errorKind"), classification.code},
      {QStringLiteral("errorRetryable"), classification.isRetryable},
      {QStringLiteral("errorStage"), currentStage_},
      {QStringLiteral("stageElapsedMs"), wholeMilliseconds(now - stageStartTime_)},
      {QStringLiteral("totalElapsedMs"), wholeMilliseconds(now - startTime_)},
      {QStringLiteral("stageTimeline"), stageTimeline_ + QStringList{timelineEntry(now) + QStringLiteral(" (failed)")}},
      {QStringLiteral("transcriptionState"), state},
      {QStringLiteral("recordingSessionID"), sessionId ? sessionId->toString(QUuid::WithoutBraces) : nil()},
  };
  if (classification.httpStatus) options.extra.insert(QStringLiteral("errorHttpStatus"), *classification.httpStatus);
  options.tags = {{QStringLiteral("component"), QStringLiteral("transcription")},
                  {QStringLiteral("error_class"), classification.category},
                  {QStringLiteral("error_stage"), currentStage_}};
  if (classification.code == QLatin1String("no_speech_detected")) {
    options.tags.insert(QStringLiteral("expected"), QStringLiteral("true"));
    options.level = ReportLevel::info;
    options.sampleRate = expectedFailureSampleRate;
  }
  return options;
}

}  // namespace quillmere
