#include "audio/VADProcessingService.h"

#include <QFile>
#include <QFileInfo>

#include "audio/NewFile.h"
#include "audio/TrimJudgement.h"
#include "base/async/Offload.h"

namespace quillmere {
namespace {

constexpr double minimumAudioSeconds = 30.0;
constexpr qint64 conversionThresholdBytes = 26214400;

QString category() {
  return QStringLiteral("audio.vad");
}

QString seconds(double value) {
  return QString::number(value, 'f', 2);
}

QString megabytes(qint64 bytes) {
  return QString::number(static_cast<double>(bytes) / (1024 * 1024), 'f', 2);
}

QString tagOf(const QString& logPrefix) {
  return logPrefix.isEmpty() ? QString() : u'[' + logPrefix + QStringLiteral("] ");
}

std::optional<qint64> sizeOf(const QString& path) {
  const QFileInfo file(path);
  return file.isFile() ? std::optional(file.size()) : std::nullopt;
}

VADProcessingResult unchanged(const QString& audioPath, bool wasProcessed) {
  VADProcessingResult result;
  result.finalAudioPath = audioPath;
  result.originalAudioPath = audioPath;
  result.wasProcessed = wasProcessed;
  return result;
}

bool holdsUsableAudio(MediaReaderFactory& readers, const QString& path, const QString& tag, const Logger& logger) {
  const auto reader = readers.open(path, MediaReaderFactory::Output::native);
  if (!reader) {
    if (reader.error().kind == MediaError::Kind::unsupported) {
      logger.error("❌ %{public}sM4A validation failed: no format description", tag);
    } else {
      logger.error("❌ %{public}sM4A validation failed: no audio tracks", tag);
    }
    return false;
  }
  const MediaReader::TrackDescription track = (*reader)->trackDescription();
  if (track.sampleRate == 0 && track.channelCount == 0) {
    logger.error("❌ %{public}sM4A validation failed: no stream description", tag);
    return false;
  }
  if (!(track.sampleRate > 0) || track.channelCount <= 0) {
    logger.error("❌ %{public}sM4A validation failed: invalid format (sampleRate=%f, channels=%u)", tag,
                 track.sampleRate, track.channelCount);
    return false;
  }
  logger.debug("✓ %{public}sM4A validation passed: %ldHz, %uch", tag, static_cast<qint64>(track.sampleRate),
               track.channelCount);
  return true;
}

}  // namespace

VADProcessingService::VADProcessingService(Dependencies dependencies, const Logging& logging)
    : use_(dependencies), logging_(logging), logger_(logging.logger(QStringLiteral("VADProcessingService"))) {}

Task<VADProcessingResult> VADProcessingService::process(QString audioPath, double durationSeconds, bool isEnabled,
                                                        QString logPrefix) {
  const QString tag = tagOf(logPrefix);
  if (!isEnabled) co_return unchanged(audioPath, false);
  if (durationSeconds < minimumAudioSeconds) {
    logger_.debug("%{public}sVAD skipped - duration too short (%{public}ss < %fs)", tag, seconds(durationSeconds),
                  minimumAudioSeconds);
    co_return unchanged(audioPath, false);
  }

  logger_.info("🎤 %{public}sVAD enabled - analyzing audio for silence trimming (duration: %{public}ss)...", tag,
               seconds(durationSeconds));
  SilenceTrimmer trimmer(use_.detector, use_.converter, use_.writers, use_.workers, logging_);
  auto trimming = trimmer.trimSilence(audioPath);
  const auto trimmed = co_await std::move(trimming);
  if (!trimmed) {
    if (trimmed.error().kind == TrimError::Kind::noSpeechDetected) {
      logger_.warning("⚠️ %{public}sVAD: No speech detected, using original file", tag);
      co_return unchanged(audioPath, true);
    }
    const QString error = trimmed.error().message();
    logger_.warning("⚠️ %{public}sVAD analysis failed: %s - using original audio", tag, error);
    const QVariantMap data{{QStringLiteral("error"), error},
                           {QStringLiteral("audioPath"), audioPath},
                           {QStringLiteral("context"), logPrefix}};
    report(QStringLiteral("VAD silence trimming failed"), data);
    co_return unchanged(audioPath, true);
  }
  if (!isAccepted(*trimmed, tag, logPrefix)) {
    QFile::remove(trimmed->outputPath);
    co_return unchanged(audioPath, true);
  }

  VADProcessingResult result = unchanged(audioPath, true);
  result.trimResult = *trimmed;
  result.finalAudioPath = trimmed->outputPath;
  co_return result;
}

bool VADProcessingService::isAccepted(const TrimResult& trim, const QString& tag, const QString& logPrefix) const {
  const std::optional<qint64> size = sizeOf(trim.outputPath);
  const double removed = trim.originalDuration - trim.trimmedDuration;
  QVariantMap data{{QStringLiteral("originalDuration"), trim.originalDuration},
                   {QStringLiteral("trimmedDuration"), trim.trimmedDuration}};
  switch (judgeTrim(trim.originalDuration, trim.trimmedDuration, size)) {
    case TrimJudgement::noSignificantSilence:
      logger_.info("%{public}sVAD: No significant silence to trim", tag);
      return false;
    case TrimJudgement::tooShort:
      logger_.warning("⚠️ %{public}sVAD trimmed audio too short (%{public}ss) - using original", tag,
                      seconds(trim.trimmedDuration));
      data.insert(QStringLiteral("context"), logPrefix);
      report(QStringLiteral("VAD trimmed audio too short"), data);
      return false;
    case TrimJudgement::invalidFile:
      logger_.warning("⚠️ %{public}sVAD trimmed file invalid (exists=%{bool}d, size=%lld bytes)", tag, size.has_value(),
                      size.value_or(0));
      data.insert(QStringLiteral("trimmedFileSizeBytes"), size.value_or(0));
      data.insert(QStringLiteral("context"), logPrefix);
      report(QStringLiteral("VAD trimmed file invalid"), data);
      return false;
    case TrimJudgement::accepted:
      break;
  }
  logger_.info("✂️ %{public}sVAD trimmed %{public}ss of silence (original: %{public}ss → trimmed: %{public}ss)", tag,
               seconds(removed), seconds(trim.originalDuration), seconds(trim.trimmedDuration));
  data.insert(QStringLiteral("silenceRemoved"), removed);
  if (trim.originalDuration > 0) {
    data.insert(QStringLiteral("removalPercentage"), removed / trim.originalDuration * 100);
  }
  data.insert(QStringLiteral("trimmedFileSizeBytes"), size.value_or(0));
  leaveBreadcrumb(QStringLiteral("VAD silence trimming completed"), data);
  return true;
}

Task<QString> VADProcessingService::compressLargeWav(QString path, QString logPrefix) {
  if (QFileInfo(path).suffix().toLower() != QLatin1String("wav")) co_return path;
  const std::optional<qint64> size = sizeOf(path);
  if (!size || *size < conversionThresholdBytes) co_return path;

  const QString tag = tagOf(logPrefix);
  logger_.info("🔄 %{public}sTrimmed WAV file is %{public}sMB - converting to M4A", tag, megabytes(*size));
  // Not the name of the recording's own M4A, which may be in the making.
  const QFileInfo wav(path);
  auto copy = NewFile::create(wav.path(), wav.completeBaseName() + QStringLiteral("_upload"), QStringLiteral("m4a"));
  if (!copy) co_return path;
  const QString target = copy->path();

  const Attempt first = co_await attempt(use_.fileConverter.convertAudioToAAC(path, target), target, logPrefix);
  if (first.isUsable) {
    const qint64 converted = sizeOf(target).value_or(0);
    logger_.info("✅ %{public}sTrimmed WAV→M4A conversion succeeded: %{public}sMB → %{public}sMB", tag,
                 megabytes(*size), megabytes(converted));
    const QVariantMap data{{QStringLiteral("originalSizeBytes"), *size},
                           {QStringLiteral("m4aSizeBytes"), converted},
                           {QStringLiteral("sampleRate"), first.format->sampleRate},
                           {QStringLiteral("channels"), first.format->channelCount},
                           {QStringLiteral("bitrate"), first.format->bitRate},
                           {QStringLiteral("context"), logPrefix}};
    leaveBreadcrumb(QStringLiteral("Trimmed WAV→M4A conversion succeeded"), data);
    co_return copy->keep();
  }
  if (first.error) {
    logger_.warning("⚠️ %{public}sPrimary M4A conversion failed: %s - trying fallback", tag, *first.error);
  } else {
    logger_.warning("⚠️ %{public}sPrimary M4A output validation failed - trying fallback", tag);
  }

  auto fallback = attempt(use_.fileConverter.exportToM4A(path, target), target, logPrefix);
  const Attempt second = co_await std::move(fallback);
  if (second.isUsable) {
    logger_.info("✅ %{public}sTrimmed WAV→M4A fallback succeeded: %{public}sMB → %{public}sMB", tag, megabytes(*size),
                 megabytes(sizeOf(target).value_or(0)));
    co_return copy->keep();
  }
  if (second.error) {
    logger_.warning("⚠️ %{public}sM4A fallback also failed - using original WAV", tag);
  } else {
    logger_.warning("⚠️ %{public}sFallback M4A output validation failed - using original WAV", tag);
  }
  const QVariantMap data{
      {QStringLiteral("originalSizeBytes"), *size},
      {QStringLiteral("error"), second.error.value_or(QStringLiteral("M4A output validation failed"))},
      {QStringLiteral("context"), logPrefix}};
  report(QStringLiteral("Trimmed WAV→M4A conversion failed"), data);
  co_return path;
}

Task<VADProcessingService::Attempt> VADProcessingService::attempt(Task<Result<AudioFileFormat, AnyError>> conversion,
                                                                  QString target, QString logPrefix) {
  Attempt outcome;
  const auto converted = co_await std::move(conversion);
  if (!converted)
    outcome.error = localizedDescription(converted.error());
  else if (QFileInfo(target).isFile())
    outcome.isUsable = co_await validateM4A(target, logPrefix);
  if (converted) outcome.format = *converted;
  co_return outcome;
}

Task<bool> VADProcessingService::validateM4A(QString path, QString logPrefix) {
  MediaReaderFactory* readers = &use_.readers;
  auto work = [readers, path, tag = tagOf(logPrefix), logger = logger_](const StopFlag&) {
    return holdsUsableAudio(*readers, path, tag, logger);
  };
  co_return co_await offload(use_.workers, std::move(work));
}

void VADProcessingService::report(const QString& message, const QVariantMap& data) const {
  if (!use_.errorReporting || !use_.errorReporting->isEnabled()) return;
  use_.errorReporting->captureMessage(message, category(), ReportLevel::error, data);
}

void VADProcessingService::leaveBreadcrumb(const QString& message, const QVariantMap& data) const {
  if (!use_.errorReporting || !use_.errorReporting->isEnabled()) return;
  use_.errorReporting->addBreadcrumb(Breadcrumb{message, category(), ReportLevel::info, data});
}

}  // namespace quillmere
