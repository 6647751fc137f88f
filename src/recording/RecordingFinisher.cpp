#include "recording/RecordingFinisher.h"

#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>
#include <cmath>
#include <filesystem>

#include "base/async/Await.h"
#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr int minimumDurationMs = 1000;
constexpr int readyChecks = 40;
constexpr auto readyInterval = 50ms;
constexpr int conversionAttempts = 5;

AnyError audioError(AudioError::Kind kind) {
  return AudioError{kind, QString()};
}

QString nameOf(const QString& path) {
  return QFileInfo(path).fileName();
}

QString withExtension(const QString& path, const char* extension) {
  const QFileInfo info(path);
  return info.path() + u'/' + info.completeBaseName() + u'.' + QLatin1String(extension);
}

QString sessionIdOf(const RecordingSessionPtr& session) {
  return session && session->id ? session->id->toString(QUuid::WithoutBraces) : QStringLiteral("unknown");
}

qint64 milliseconds(double seconds) {
  return std::llround(seconds * 1000);
}

// The name of a finished WAV that nothing has yet, nor its M4A.
QString freePath(const RecordingFinisher::RawRecording& raw) {
  const QString folder = QFileInfo(raw.path).path();
  for (qint64 seconds = raw.startedAt;; ++seconds) {
    const QString path = folder + QStringLiteral("/recording_%1.wav").arg(seconds);
    if (!QFileInfo::exists(path) && !QFileInfo::exists(withExtension(path, "m4a"))) return path;
  }
}

std::filesystem::path systemPath(const QString& path) {
  return QFile::encodeName(path).toStdString();
}

}  // namespace

RecordingFinisher::RecordingFinisher(Dependencies dependencies, const Logging& logging)
    : use_(std::move(dependencies)), log_(logging.logger(QStringLiteral("RecordingFinisher"))) {
  saves_ = use_.persistence.observeChanges([this](const StoreChange&) { removeSuperseded(); });
}

void RecordingFinisher::leaveBreadcrumb(const QString& message, ReportLevel level, const QVariantMap& data) {
  if (use_.reporting && use_.reporting->isEnabled())
    use_.reporting->addBreadcrumb({message, QStringLiteral("audio.recording"), level, data});
}

Task<RecordingFinisher::Finished> RecordingFinisher::finish(RawRecording raw) {
  Finished finished;
  finished.path = freePath(raw);
  const auto promoted = co_await promote(raw, finished);
  if (!promoted) {
    const QFileInfo file(raw.path);
    const AnyError& error = promoted.error();
    reportFailure(raw, finished, error);
    const bool isKnownToBeSmall = file.exists() && file.size() < minimumSizeBytes;
    if (raw.duration < minimumSeconds || isKnownToBeSmall) {
      use_.sessionManager.deleteSession(raw.session);
      finished.path.reset();
      finished.isTooShort = true;
      co_return finished;
    }
    if (file.exists()) rescue(raw, finished);
  }
  completeRow(raw, finished);
  co_return finished;
}

// What can't be finished keeps its audio under a proper name all the same.
void RecordingFinisher::rescue(const RawRecording& raw, Finished& finished) {
  const auto moved = moveToFinalWav(raw);
  if (moved) {
    log_.info("Renamed the raw file to keep it: %{public}s", nameOf(*moved));
    finished.path = *moved;
  } else {
    log_.error("Failed to rename the raw file: %s", localizedDescription(moved.error()));
    finished.path.reset();
  }
}

void RecordingFinisher::completeRow(const RawRecording& raw, const Finished& finished) {
  if (!finished.path) {
    use_.sessionManager.releaseSession(raw.session);
    return;
  }
  std::optional<AudioFileProperties> properties;
  if (const auto read = AudioFileProperties::read(use_.mediaReaders, *finished.path)) properties = *read;
  raw.session->audioFormat = audioFormatText(*finished.path, properties);
  use_.sessionManager.completeSession(raw.session, *finished.path, raw.duration);
  supersede(raw.path, *finished.path);
}

// The row names `finished` by now, which is the same audio. Where another process holds up the store, the row that a
// killed process would leave still has the old name.
void RecordingFinisher::supersede(const QString& path, const QString& finished) {
  superseded_.push_back({path, finished});
  removeSuperseded();
}

void RecordingFinisher::removeSuperseded() {
  if (superseded_.empty() || use_.persistence.hasChanges()) return;
  for (const Superseded& one : std::exchange(superseded_, {}))
    if (QFileInfo::exists(one.finished)) QFile::remove(one.path);
}

Task<Result<void, AnyError>> RecordingFinisher::promote(const RawRecording& raw, Finished& finished) {
  if (raw.duration < minimumSeconds) co_return Failed{audioError(AudioError::Kind::recordingTooShort)};
  const bool isReady = co_await waitForRawFileReady(raw.path);
  if (!isReady) {
    const QFileInfo info(raw.path);
    const bool exists = info.exists();
    const qint64 size = exists ? info.size() : 0;
    const AnyError error = audioError(AudioError::Kind::recordingTooShort);
    log_.error("Raw WAV file not ready or too small: %{public}s (exists: %{bool}d, size: %lld bytes)", nameOf(raw.path),
               exists, size);
    leaveBreadcrumb(QStringLiteral("Recording too short - WAV file not ready"), ReportLevel::warning,
                    {{QStringLiteral("rawPath"), raw.path},
                     {QStringLiteral("fileExists"), exists},
                     {QStringLiteral("fileSizeBytes"), size},
                     {QStringLiteral("minimumDurationMs"), minimumDurationMs},
                     {QStringLiteral("errorDescription"), localizedDescription(error)},
                     {QStringLiteral("sessionId"), sessionIdOf(raw.session)}});
    co_return Failed{error};
  }
  CO_TRY(const auto properties, validate(raw.path));
  leaveBreadcrumb(QStringLiteral("Processing recorded WAV file"), ReportLevel::info,
                  {{QStringLiteral("rawPath"), raw.path},
                   {QStringLiteral("destPath"), *finished.path},
                   {QStringLiteral("recordingDurationMs"), milliseconds(raw.duration)},
                   {QStringLiteral("sessionId"), sessionIdOf(raw.session)}});

  const qint64 size = QFileInfo(raw.path).size();
  const bool isLarge = size >= wavToM4AThresholdBytes;
  if (isLarge && !raw.keepsLargeWav) co_return co_await compress(raw, size, finished);
  CO_TRY(const QString moved, moveToFinalWav(raw));
  finished.path = moved;
  log_.info("WAV file size (%lldKB) is %{public}s - using WAV: %{public}s", size / 1024,
            isLarge ? "decoded as it is" : "under 25MB", nameOf(moved));
  leaveBreadcrumb(QStringLiteral("Using WAV directly (under 25MB threshold)"), ReportLevel::info,
                  {{QStringLiteral("wavPath"), moved},
                   {QStringLiteral("wavSizeBytes"), size},
                   {QStringLiteral("sampleRate"), properties.sampleRate},
                   {QStringLiteral("channels"), properties.channelCount}});
  co_return Result<void, AnyError>();
}

Task<bool> RecordingFinisher::waitForRawFileReady(QString path) {
  qint64 size = -1;
  for (int check = 1; check <= readyChecks; ++check) {
    if (check > 1) co_await sleepFor(readyInterval);
    const QFileInfo info(path);
    size = info.exists() ? info.size() : -1;
    if (size >= minimumSizeBytes) {
      if (check > 1)
        log_.info("Raw audio file ready after %ld checks (%lld bytes): %{public}s", check, size, nameOf(path));
      co_return true;
    }
    if (check == readyChecks / 2 && size >= 0)
      log_.warning("Raw audio file too small after %ld checks: %lld bytes (minimum: %lld)", check, size,
                   minimumSizeBytes);
  }
  if (size >= 0)
    log_.error("Raw audio file failed size check: %lld bytes (minimum: %lld)", size, minimumSizeBytes);
  else
    log_.error("Raw audio file does not exist or unreadable: %{public}s", nameOf(path));
  leaveBreadcrumb(QStringLiteral("waitForRawFileReady failed"), ReportLevel::warning,
                  {{QStringLiteral("fileName"), nameOf(path)},
                   {QStringLiteral("fileExists"), size >= 0},
                   {QStringLiteral("finalSizeBytes"), std::max<qint64>(size, 0)},
                   {QStringLiteral("minimumSizeBytes"), minimumSizeBytes},
                   {QStringLiteral("attemptsUsed"), readyChecks},
                   {QStringLiteral("totalWaitMs"), qint64((readyChecks - 1) * readyInterval.count())}});
  co_return false;
}

Result<AudioFileProperties, AnyError> RecordingFinisher::validate(const QString& path) const {
  const QFileInfo info(path);
  if (info.isFile() && info.isReadable() && info.size() > 0) {
    const auto properties = AudioFileProperties::read(use_.mediaReaders, path);
    if (properties && properties->isUsable()) return *properties;
    if (!properties) log_.error("The raw file can't be opened: %s", properties.error().description);
  }
  return Failed{audioError(AudioError::Kind::fileNotReadable)};
}

// The raw name stays beside it where the file system has links, so that a process that is killed before the row names
// the new one leaves a row whose file is there.
Result<QString, AnyError> RecordingFinisher::moveToFinalWav(const RawRecording& raw) const {
  for (;;) {
    const QString target = freePath(raw);
    std::error_code failure;
    std::filesystem::create_hard_link(systemPath(raw.path), systemPath(target), failure);
    if (!failure) return target;
    QFile file(raw.path);
    if (file.rename(target)) return target;
    // Where it exists now, another process has just taken the name.
    if (!QFileInfo::exists(target))
      return Failed{AnyError(PlatformError{QStringLiteral("filesystem"), int(file.error()), file.errorString()})};
  }
}

Task<Result<void, AnyError>> RecordingFinisher::compress(const RawRecording& raw, qint64 sizeBytes,
                                                         Finished& finished) {
  const QString target = withExtension(*finished.path, "m4a");
  const ConversionRetryResult primary = co_await convertWithRetry(raw.path, target);
  if (primary.success) {
    finished.path = target;
    log_.info("Compressed to M4A %ldHz %ldch @ %ld kbps (attempt %ld): %{public}s", qint64(primary.metrics->sampleRate),
              primary.metrics->channelCount, primary.metrics->bitRate / 1000, primary.attempts, nameOf(target));
    leaveBreadcrumb(QStringLiteral("Converted large WAV to M4A"), ReportLevel::info,
                    {{QStringLiteral("originalWavSizeBytes"), sizeBytes},
                     {QStringLiteral("m4aPath"), target},
                     {QStringLiteral("attempts"), primary.attempts}});
    co_return Result<void, AnyError>();
  }

  log_.error("Primary M4A conversion failed after %ld attempts - trying AVAssetExportSession fallback",
             primary.attempts);
  log_.info("Attempting AVAssetExportSession fallback conversion");
  const auto exported = co_await exportFallback(raw.path, target);
  if (exported) {
    finished.path = target;
    leaveBreadcrumb(QStringLiteral("AVAssetExportSession fallback succeeded for large WAV"), ReportLevel::info,
                    {{QStringLiteral("originalWavSizeBytes"), sizeBytes}, {QStringLiteral("m4aPath"), target}});
    co_return Result<void, AnyError>();
  }
  log_.error("AVAssetExportSession fallback failed: %{public}s", localizedDescription(exported.error()));

  log_.error("All M4A conversion methods failed - keeping oversized WAV to prevent data loss");
  QFile::remove(target);
  CO_TRY(const QString moved, moveToFinalWav(raw));
  finished.path = moved;
  finished.conversionWarning = localizedText("recording.warning.oversizedWAV", sizeBytes >> 20);
  leaveBreadcrumb(QStringLiteral("All M4A conversions failed - keeping oversized WAV"), ReportLevel::warning,
                  {{QStringLiteral("wavPath"), moved},
                   {QStringLiteral("wavSizeBytes"), sizeBytes},
                   {QStringLiteral("primaryAttempts"), primary.attempts},
                   {QStringLiteral("primaryError"),
                    primary.lastError ? localizedDescription(*primary.lastError) : QStringLiteral("unknown")},
                   {QStringLiteral("exportSessionError"), localizedDescription(exported.error())}});
  co_return Result<void, AnyError>();
}

Task<ConversionRetryResult> RecordingFinisher::convertWithRetry(QString from, QString to) {
  ConversionRetryResult result;
  while (result.attempts < conversionAttempts) {
    ++result.attempts;
    log_.info("M4A conversion attempt %ld/%ld", result.attempts, conversionAttempts);
    QFile::remove(to);
    const auto converted = co_await use_.audioFileConverter.convertAudioToAAC(from, to);
    if (converted) {
      result.success = true;
      result.metrics = *converted;
      co_return result;
    }
    result.lastError = converted.error();
    log_.error("M4A conversion attempt %ld failed: %{public}s", result.attempts,
               localizedDescription(converted.error()));
    if (result.attempts < conversionAttempts) co_await sleepFor(50ms * (1 << result.attempts));
  }
  log_.error("M4A conversion failed after %ld attempts", result.attempts);
  co_return result;
}

Task<Result<void, AnyError>> RecordingFinisher::exportFallback(QString from, QString to) {
  QFile::remove(to);
  CO_TRY_OK(co_await use_.audioFileConverter.exportToM4A(from, to));
  if (!QFileInfo::exists(to)) co_return Failed{audioError(AudioError::Kind::exportFailed)};
  co_return Result<void, AnyError>();
}

void RecordingFinisher::reportFailure(const RawRecording& raw, const Finished& finished, const AnyError& error) {
  const QFileInfo file(raw.path);
  const bool rawExists = file.exists();
  const qint64 rawSize = rawExists ? file.size() : -1;
  const qint64 durationMs = milliseconds(raw.duration);
  QString shortReason = QStringLiteral("unknown");
  if (durationMs < minimumDurationMs)
    shortReason = QStringLiteral("duration");
  else if (rawSize >= 0 && rawSize < minimumSizeBytes)
    shortReason = QStringLiteral("file_size");
  const QString target = finished.path.value_or(QString());
  const QVariantMap diagnostics{{QStringLiteral("phase"), QStringLiteral("wav_finalization_error")},
                                {QStringLiteral("errorType"), errorTypeName(error)},
                                {QStringLiteral("errorCode"), errorCode(error)},
                                {QStringLiteral("errorDescription"), localizedDescription(error)},
                                {QStringLiteral("recordingDurationMs"), durationMs},
                                {QStringLiteral("minimumDurationMs"), minimumDurationMs},
                                {QStringLiteral("minimumSizeBytes"), minimumSizeBytes},
                                {QStringLiteral("rawURL"), raw.path},
                                {QStringLiteral("dstURL"), target},
                                {QStringLiteral("rawExists"), rawExists},
                                {QStringLiteral("rawReadable"), rawExists && file.isReadable()},
                                {QStringLiteral("dstExists"), QFileInfo::exists(target)},
                                {QStringLiteral("rawSizeBytes"), rawSize},
                                {QStringLiteral("volumeFreeBytes"), QStorageInfo(file.path()).bytesAvailable()},
                                {QStringLiteral("shortReason"), shortReason}};

  log_.error("%{public}s: %{public}s", "Audio finalization failed", localizedDescription(error));
  const auto* known = std::get_if<AudioError>(&error);
  const bool isExpected = known && known->kind == AudioError::Kind::recordingTooShort;
  if (!isExpected && use_.reporting && use_.reporting->isEnabled()) {
    ReportOptions options;
    options.message = QStringLiteral("Audio finalization failed");
    options.extra = diagnostics;
    use_.reporting->captureError(error, options);
  }
  leaveBreadcrumb(QStringLiteral("Audio finalization error"), ReportLevel::error, diagnostics);
}

// --- conversion for storage

Task<void> RecordingFinisher::convertInBackground(QString path, TranscriptPtr transcript) {
  if (QFileInfo(path).suffix().toLower() != QStringLiteral("wav")) {
    log_.info("Skipping background M4A conversion - file is not WAV: %{public}s", nameOf(path));
    co_return;
  }
  if (!transcript) co_return;
  log_.info("Starting background WAV→M4A conversion: %{public}s", nameOf(path));
  const QString target = withExtension(path, "m4a");
  // While it is made anew, the WAV is all there is.
  std::erase_if(superseded_, [&](const Superseded& one) { return one.finished == target; });
  QFile::remove(target);
  const auto converted = co_await use_.audioFileConverter.convertAudioToAAC(path, target);
  std::optional<AnyError> fallbackError;
  if (!converted) {
    log_.error("Background primary M4A conversion failed: %{public}s - trying fallback",
               localizedDescription(converted.error()));
    const auto exported = co_await exportFallback(path, target);
    if (!exported) fallbackError = exported.error();
  }
  if (fallbackError) {
    log_.error("Background M4A conversion failed (both methods), keeping WAV: %{public}s", nameOf(path));
    leaveBreadcrumb(
        QStringLiteral("Background WAV→M4A conversion failed (both methods)"), ReportLevel::warning,
        {{QStringLiteral("wavPath"), path}, {QStringLiteral("fallbackError"), localizedDescription(*fallbackError)}});
    co_return;
  }
  if (!QFileInfo::exists(path)) {
    // The transcript was deleted meanwhile, and its recording with it.
    QFile::remove(target);
    log_.info("The recording was deleted during its conversion: %{public}s", nameOf(path));
    co_return;
  }
  use_.persistence.updateTranscriptAudioPath(transcript, target);
  if (transcript->audioFilePath != target) {
    log_.error("The transcript could not be pointed at the M4A, keeping the WAV too: %{public}s", nameOf(path));
    co_return;
  }
  supersede(path, target);
  if (converted) {
    log_.info("Background WAV→M4A conversion succeeded: %ldHz %ldch @ %ld kbps → %{public}s",
              qint64(converted->sampleRate), converted->channelCount, converted->bitRate / 1000, nameOf(target));
    leaveBreadcrumb(QStringLiteral("Background WAV→M4A conversion succeeded"), ReportLevel::info,
                    {{QStringLiteral("m4aPath"), target},
                     {QStringLiteral("sampleRate"), converted->sampleRate},
                     {QStringLiteral("channels"), converted->channelCount},
                     {QStringLiteral("bitrate"), converted->bitRate}});
  } else {
    log_.info("Background WAV→M4A conversion succeeded via fallback: %{public}s", nameOf(target));
    leaveBreadcrumb(QStringLiteral("Background WAV→M4A conversion succeeded (fallback)"), ReportLevel::info,
                    {{QStringLiteral("m4aPath"), target}});
  }
}

}  // namespace quillmere
