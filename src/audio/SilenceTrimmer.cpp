#include "audio/SilenceTrimmer.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <span>

#include "audio/NewFile.h"
#include "audio/SpeechRanges.h"
#include "base/async/Offload.h"

namespace quillmere {
namespace {

using Samples = VoiceActivityDetector::Samples;
using Kind = TrimError::Kind;

constexpr double sampleRate = 16000;
constexpr int extraPaddingMs = 50;
constexpr int mergeGapMs = 200;
constexpr quint32 framesPerRead = 1 << 16;
constexpr qint64 samplesPerWrite = 1 << 20;

QString seconds(qint64 samples) {
  return QString::number(static_cast<double>(samples) / sampleRate, 'f', 2);
}

Result<void, PlatformError> append(WavWriter& writer, std::span<const float> samples,
                                   const std::vector<SampleRange>& ranges, const StopFlag& stop) {
  for (const SampleRange& range : ranges) {
    for (qint64 at = range.start; at < range.end && !stop.isSet(); at += samplesPerWrite) {
      const qint64 count = std::min(samplesPerWrite, range.end - at);
      TRY_OK(writer.append(samples.subspan(size_t(at), size_t(count))));
    }
  }
  return writer.finish();
}

Result<void, PlatformError> write(WavWriterFactory& writers, const QString& path, std::span<const float> samples,
                                  const std::vector<SampleRange>& ranges, const StopFlag& stop) {
  TRY(auto writer, writers.create(path, int(sampleRate)));
  Result<void, PlatformError> written = append(*writer, samples, ranges, stop);
  writer.reset();
  if (!written || stop.isSet()) QFile::remove(path);
  return written;
}

}  // namespace

SilenceTrimmer::SilenceTrimmer(VoiceActivityDetector& detector, AudioConverter& converter, WavWriterFactory& writers,
                               WorkerPool& workers, const Logging& logging)
    : detector_(detector),
      converter_(converter),
      writers_(writers),
      workers_(workers),
      logger_(logging.logger(QStringLiteral("SilenceTrimmer"))) {}

Task<Result<TrimResult, TrimError>> SilenceTrimmer::trimSilence(QString inputPath) {
  logger_.info("Starting silence trimming for: %s", inputPath);
  if (!QFileInfo::exists(inputPath)) co_return Failed{TrimError{Kind::fileNotFound, {}}};

  CO_TRY(const Samples samples, co_await load(inputPath));
  const auto total = static_cast<qint64>(samples->size());
  logger_.info("Loaded %ld samples (%{public}ss)", total, seconds(total));

  CO_TRY(const auto found, co_await findSpeech(samples));
  if (found.empty()) {
    logger_.info("No speech detected in audio");
    co_return Failed{TrimError{Kind::noSpeechDetected, {}}};
  }

  const std::vector<TimeRange> merged = mergeSegments(found, mergeGapMs);
  if (merged.size() < found.size()) logger_.info("Merged %ld segments into %ld", found.size(), merged.size());
  const std::vector<TimeRange> padded = padSegments(merged, extraPaddingMs, static_cast<double>(total) / sampleRate);
  const std::vector<SampleRange> ranges = sampleRanges(padded, total, sampleRate, logger_);
  const qint64 kept = sampleCount(ranges);
  logger_.info("Extracted %ld samples (%{public}ss)", kept, seconds(kept));

  const QFileInfo input(inputPath);
  auto target =
      NewFile::create(input.path(), input.completeBaseName() + QStringLiteral("_trimmed"), QStringLiteral("wav"));
  if (!target) co_return Failed{TrimError{Kind::outputWriteFailed, QStringLiteral("The folder takes no file")}};
  const QString output = target->path();
  WavWriterFactory* writers = &writers_;
  auto work = [writers, output, samples, ranges](const StopFlag& stop) {
    return write(*writers, output, *samples, ranges, stop);
  };
  const auto written = co_await offload(workers_, std::move(work));
  if (!written) co_return Failed{TrimError{Kind::outputWriteFailed, written.error().description}};
  logger_.info("Wrote trimmed audio to: %s", output);

  TrimResult result;
  result.outputPath = target->keep();
  result.originalDuration = static_cast<double>(total) / sampleRate;
  result.trimmedDuration = static_cast<double>(kept) / sampleRate;
  result.segmentCount = static_cast<int>(merged.size());
  co_return result;
}

Task<Result<Samples, TrimError>> SilenceTrimmer::load(QString path) {
  ConversionOptions options{framesPerRead, sampleRate, false, {}};
  auto converted = co_await converter_.convert(path, std::move(options));
  const bool isEmpty = converted ? converted->empty() : converted.error().kind == ConversionError::Kind::emptyAudioFile;
  if (isEmpty) {
    co_return Failed{
        TrimError{Kind::audioLoadFailed, QStringLiteral("Audio format conversion failed - no samples produced")}};
  }
  if (!converted) co_return Failed{TrimError{Kind::audioLoadFailed, converted.error().message()}};
  co_return std::make_shared<const std::vector<float>>(std::move(*converted));
}

Task<Result<std::vector<TimeRange>, TrimError>> SilenceTrimmer::findSpeech(Samples samples) {
  if (!detector_.isModelLoaded()) {
    const auto loaded = co_await detector_.loadModel();
    if (!loaded) co_return Failed{TrimError{Kind::vadAnalysisFailed, message(loaded.error())}};
  }
  auto found = co_await detector_.analyze(std::move(samples), sampleRate);
  if (!found) co_return Failed{TrimError{Kind::vadAnalysisFailed, message(found.error())}};
  co_return std::move(*found);
}

}  // namespace quillmere
