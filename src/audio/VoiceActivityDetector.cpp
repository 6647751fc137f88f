#include "audio/VoiceActivityDetector.h"

#include "base/async/Offload.h"

namespace quillmere {
namespace {

QString seconds(double value) {
  return QString::number(value, 'f', 2);
}

}  // namespace

VoiceActivityDetector::VoiceActivityDetector(VoiceActivityModel& model, VADModelManager& modelManager,
                                             const Logging& logging)
    : model_(model), modelManager_(modelManager), logger_(logging.logger(QStringLiteral("VoiceActivityDetector"))) {}

Task<Result<void, VADError>> VoiceActivityDetector::loadModel() {
  if (isModelLoaded_) {
    logger_.debug("VAD model already loaded");
    co_return Result<void, VADError>();
  }
  const std::optional<QString> path = modelManager_.modelPath();
  if (!path) {
    logger_.error("VAD model path not found");
    co_return Failed{VADError::modelNotFound};
  }
  VoiceActivityModel* model = &model_;
  // Another task may have asked for it meanwhile.
  auto work = [model, file = *path](const StopFlag&) {
    return model->isLoaded() ? Result<void, PlatformError>() : model->load(file);
  };
  const auto loaded = co_await offload(worker_, std::move(work));
  if (!loaded) {
    logger_.error("Failed to load VAD model from: %s", *path);
    logger_.error("The reason: %s", loaded.error().description);
    co_return Failed{VADError::modelLoadFailed};
  }
  isModelLoaded_ = true;
  logger_.info("VAD model loaded successfully");
  co_return Result<void, VADError>();
}

Task<Result<std::vector<TimeRange>, VADError>> VoiceActivityDetector::analyze(Samples samples, double sampleRate) {
  if (!isModelLoaded_) {
    logger_.error("VAD context not initialized");
    co_return Failed{VADError::analysisFailedContextNotReady};
  }
  if (!samples || samples->empty() || !(sampleRate > 0)) {
    logger_.error("Empty audio samples provided");
    co_return Failed{VADError::analysisFailedInvalidSamples};
  }
  VoiceActivityModel* model = &model_;
  auto work = [model, samples, parameters = parameters_](const StopFlag& stop) {
    return model->segments(*samples, parameters, stop.atomic());
  };
  const auto segments = co_await offload(worker_, std::move(work));
  if (!segments) {
    logger_.error("VAD segmentation failed");
    co_return Failed{VADError::segmentExtractionFailed};
  }
  co_return asTimeRanges(*segments, static_cast<double>(samples->size()) / sampleRate);
}

std::vector<TimeRange> VoiceActivityDetector::asTimeRanges(const std::vector<VoiceActivitySegment>& segments,
                                                           double audioDuration) const {
  std::vector<TimeRange> ranges;
  ranges.reserve(segments.size());
  double speech = 0;
  for (const VoiceActivitySegment& segment : segments) {
    const TimeRange range{segment.t0 / 100.0f, segment.t1 / 100.0f};
    if (static_cast<double>(range.start) > audioDuration || static_cast<double>(range.end) > audioDuration) {
      logger_.warning(
          "⚠️ Segment %d times exceed audio duration! t0=%fs, t1=%fs, audioDuration=%fs - possible unit conversion "
          "issue",
          ranges.size(), range.start, range.end, audioDuration);
    }
    speech += static_cast<double>(range.length());
    ranges.push_back(range);
  }
  const double silence = audioDuration - speech;
  if (speech > audioDuration) {
    logger_.error("❌ BUG: speechDuration (%fs) > totalDuration (%fs) - this should never happen!", speech,
                  audioDuration);
  }
  if (silence < 0) {
    logger_.error("❌ BUG: silenceDuration is negative (%fs) - this should never happen!", silence);
  }
  logger_.info("VAD complete: %ld segments, speech=%{public}ss (%{public}s%%), silence=%{public}ss, total=%{public}ss",
               ranges.size(), seconds(speech), QString::number(speech / audioDuration * 100, 'f', 1), seconds(silence),
               seconds(audioDuration));
  return ranges;
}

}  // namespace quillmere
