#include "recording/RecordingLifecycle.h"

#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>
#include <QUuid>
#include <cmath>
#include <filesystem>

#include "base/async/Combinators.h"
#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr auto folderLimit = 120s;
constexpr auto durationInterval = 100ms;
constexpr auto environmentPatience = 300ms;
constexpr int minimumDurationMs = 1000;
constexpr int readyChecks = 40;
constexpr auto readyInterval = 50ms;
constexpr int conversionAttempts = 5;
constexpr float raisedMicVolume = 0.9F;

AnyError audioError(AudioError::Kind kind, const QString& reason = {}) {
  return AudioError{kind, reason};
}

qint64 milliseconds(double seconds) {
  return std::llround(seconds * 1000);
}

QString nameOf(const QString& path) {
  return QFileInfo(path).fileName();
}

QString withExtension(const QString& path, const char* extension) {
  const QFileInfo info(path);
  return info.path() + u'/' + info.completeBaseName() + u'.' + QLatin1String(extension);
}

std::filesystem::path systemPath(const QString& path) {
  return QFile::encodeName(path).toStdString();
}

QString volumeText(const std::optional<float>& volume) {
  return volume ? QString::asprintf("%.0f%%", double(*volume) * 100) : QStringLiteral("nil (unsupported)");
}

QString sessionIdOf(const RecordingSessionPtr& session) {
  return session && session->id ? session->id->toString(QUuid::WithoutBraces) : QStringLiteral("unknown");
}

// Waits for something that goes on by itself when the patience is over.
Task<bool> waitABit(Completion<void> completion) {
  return withTimeout(environmentPatience, completion.wait());
}

}  // namespace

// What a recording has changed for others, with the work that may still be under way.
struct RecordingLifecycle::Environment {
  std::optional<AudioEnvironmentState> recordingAudioEnvironmentState;
  std::optional<float> originalMicVolume;
  bool isControllingMedia = false;
  bool isRaisingVolume = false;
  Completion<void> mediaControlled;
  Completion<void> volumeRaised;
  Completion<void> undone;
};

struct RecordingLifecycle::Capture {
  QString rawURL;
  QString finalURL;  // with "wav"
  RecordingSessionPtr session;
  std::shared_ptr<Environment> environment;
  TimePoint startedAt;
  std::optional<AudioRecorder::Interruption> interruption;
  std::optional<double> durationAtInterruption;
  double duration = 0;
};

struct RecordingLifecycle::Finished {
  std::optional<QString> path;
  std::optional<QString> conversionWarning;
  bool isRawObsolete = false;  // goes once the row names the new file
};

RecordingLifecycle::RecordingLifecycle(Dependencies dependencies, const Logging& logging)
    : use_(std::move(dependencies)), log_(logging.logger(QStringLiteral("RecordingLifecycle"))), scope_(use_.executor) {
  levelBinding_ = use_.simpleRecorder.audioLevel().observe([this](float level) { audioLevel_.set(level); });
  use_.simpleRecorder.setOnInterrupted(
      [this](const AudioRecorder::Interruption& interruption) { interrupted(interruption); });
}

RecordingLifecycle::~RecordingLifecycle() {
  use_.simpleRecorder.setOnInterrupted(nullptr);
}

void RecordingLifecycle::setOnInterrupted(std::function<void(AudioRecorder::Interruption)> callback) {
  onInterrupted_ = std::move(callback);
}

void RecordingLifecycle::leaveBreadcrumb(const QString& message, ReportLevel level, const QVariantMap& data) {
  if (use_.reporting && use_.reporting->isEnabled())
    use_.reporting->addBreadcrumb({message, QStringLiteral("audio.recording"), level, data});
}

QString RecordingLifecycle::recordingsFolder() const {
  const QString chosen = settingsManager_ ? settingsManager_->storage().recordingsFolder() : QString();
  return chosen.isEmpty() ? use_.folders.documents + QStringLiteral("/Recordings") : chosen;
}

// --- start

Task<Result<void, AnyError>> RecordingLifecycle::startRecording() {
  return shielded(begin());
}

Task<Result<void, AnyError>> RecordingLifecycle::begin() {
  if (!hasMicrophonePermission_) co_return Failed{audioError(AudioError::Kind::noPermission)};
  use_.simpleRecorder.prepare();
  SerialGate::Pass pass;
  while (true) {
    auto entering = gate_.enter();
    pass = co_await std::move(entering);
    if (!isRecording_.get()) break;
    pass = SerialGate::Pass();
    auto stopping = finish();
    if (const auto older = co_await std::move(stopping)) use_.sessionManager.settleSession(older->session);
  }
  const auto environment = std::make_shared<Environment>();
  auto recording = prepareAndRecord(environment);
  auto started = co_await std::move(recording);
  if (started) co_return started;
  capture_.reset();
  beginUndo(environment, std::move(pass));
  auto undoing = waitABit(environment->undone);
  co_await std::move(undoing);
  co_return started;
}

Task<Result<void, AnyError>> RecordingLifecycle::prepareAndRecord(std::shared_ptr<Environment> environment) {
  if (settingsManager_) {
    auto waiting = settingsManager_->storage().waitForRecordingsFolder(folderLimit);
    const bool isUsable = co_await std::move(waiting);
    if (!isUsable)
      co_return Failed{audioError(AudioError::Kind::recordingFailed, localizedText("recording.error.documentsAccess"))};
  }

  auto applying = use_.deviceManager.applySelectedDevice();
  co_await std::move(applying);

  const MediaControlMode mode = settingsManager_ ? settingsManager_->audio().mediaControlMode() : MediaControlMode::off;
  if (mode == MediaControlMode::off) {
    log_.info("Media control mode: off - no audio changes");
  } else {
    environment->isControllingMedia = true;
    scope_.spawn(controlMedia(environment, mode));
  }
  if (mode == MediaControlMode::muteAudio) {
    auto muting = waitABit(environment->mediaControlled);
    const bool isMuted = co_await std::move(muting);
    if (!isMuted) log_.warning("The sound server takes long to mute, recording without waiting for it");
  }
  if (settingsManager_ && settingsManager_->audio().autoIncreaseMicVolume()) {
    environment->isRaisingVolume = true;
    scope_.spawn(increaseMicVolume(environment));
  }

  const QString folder = recordingsFolder();
  std::error_code failure;
  std::filesystem::create_directories(systemPath(folder), failure);
  if (failure)
    log_.error("Failed to create recordings directory: %s", failure.message());
  else
    log_.info("Recordings directory ready: %{public}s", folder);

  const QDateTime now = use_.clock.now();
  const auto capture = std::make_shared<Capture>();
  capture->environment = environment;
  capture->rawURL = folder + QStringLiteral("/.incomplete_") + QUuid::createUuid().toString(QUuid::WithoutBraces) +
                    QStringLiteral(".wav");
  // A clock that was set back must not make this recording take the place of an older one.
  for (qint64 seconds = now.toSecsSinceEpoch();; ++seconds) {
    capture->finalURL = folder + QStringLiteral("/recording_%1.wav").arg(seconds);
    if (!QFileInfo::exists(capture->finalURL) && !QFileInfo::exists(withExtension(capture->finalURL, "m4a"))) break;
  }

  const auto device = use_.deviceManager.selectedDevice().get();
  std::optional<QString> deviceId;
  QString deviceName = localizedText("audio.device.default");
  if (device) {
    deviceId = device->id;
    deviceName = device->name;
  }
  const auto& settings = SimpleRecorder::recordSettings;
  capture->session = use_.sessionManager.createSession(deviceId, deviceName, settings.sampleRate, settings.channelCount,
                                                       QStringLiteral("WAV PCM 16000Hz 1ch"), capture->rawURL);

  capture->startedAt = use_.executor.now();
  capture_ = capture;
  auto starting = use_.simpleRecorder.start(capture->rawURL);
  auto started = co_await std::move(starting);
  if (!started) co_return started;

  capture->startedAt = use_.executor.now();
  recordingStartTime_ = use_.clock.now();
  isRecording_.set(true);
  if (capture->interruption)
    interrupted(*capture->interruption);
  else
    recordingTimer_ = scope_.spawn(updateDuration());
  log_.info("Started recording to file: %{public}s", nameOf(capture->rawURL));
  co_return Result<void, AnyError>();
}

Task<void> RecordingLifecycle::controlMedia(std::shared_ptr<Environment> environment, MediaControlMode mode) {
  if (mode == MediaControlMode::muteAudio) {
    auto muting = use_.audioSessionManager.prepareMutedEnvironment();
    environment->recordingAudioEnvironmentState = co_await std::move(muting);
    if (environment->recordingAudioEnvironmentState->originalVolume)
      log_.info("Audio environment prepared (muted) for recording");
    else
      log_.error("Failed to mute audio environment, continuing recording");
  } else {
    auto pausing = use_.audioSessionManager.pauseMedia();
    environment->recordingAudioEnvironmentState = co_await std::move(pausing);
    log_.info("Media paused for recording");
  }
  environment->mediaControlled.resolve();
}

Task<void> RecordingLifecycle::increaseMicVolume(std::shared_ptr<Environment> environment) {
  log_.info("🎚️ [ASYNC] Auto-increase mic volume task STARTED on background thread");
  const CoreAudioDeviceHelper& helper = use_.deviceManager.helper();
  const auto selected = use_.deviceManager.selectedDevice().get();
  std::optional<quint32> target;
  if (selected) {
    target = helper.deviceID(selected->uid);
    if (!target) log_.error("🎚️ [ASYNC] Failed - unable to find device with UID: %{public}s", selected->uid);
  } else {
    target = helper.defaultInputDeviceID();
    if (!target) log_.error("🎚️ [ASYNC] Failed - unable to get system default device ID");
  }
  if (target) {
    log_.info("🎚️ [ASYNC] Target device (%{public}s): %{public}s (ID: %u)", selected ? "selected" : "system default",
              helper.deviceName(*target).value_or(QStringLiteral("unknown")), *target);
    const auto before = helper.inputVolume(*target);
    log_.info("🎚️ [ASYNC] Current volume: %{public}s", volumeText(before));
    log_.info("🎚️ [ASYNC] Attempting to set volume to 90%%...");
    // Kept before the change, so that it is known even if the answer never comes.
    environment->originalMicVolume = before;
    auto raising = helper.setInputVolumeScalar(*target, raisedMicVolume);
    const bool isRaised = co_await std::move(raising);
    if (isRaised)
      log_.info("🎚️ [ASYNC] SUCCESS - Volume changed from %{public}s → %{public}s", volumeText(before),
                volumeText(helper.inputVolume(*target)));
    else
      log_.error(
          "🎚️ [ASYNC] FAILED - CoreAudio setInputVolumeScalar returned false (device may not support software volume "
          "control)");
    log_.info("🎚️ [ASYNC] Stored original volume for restoration");
    log_.info("🎚️ [ASYNC] Auto-increase mic volume task COMPLETED");
  }
  environment->volumeRaised.resolve();
}

// The next start waits for the gate, so that it never takes a muted output for the user's own volume.
void RecordingLifecycle::beginUndo(std::shared_ptr<Environment> environment, SerialGate::Pass pass) {
  scope_.spawn(undo(std::move(environment), std::move(pass)));
}

Task<void> RecordingLifecycle::undo(std::shared_ptr<Environment> environment, SerialGate::Pass pass) {
  if (environment->isControllingMedia) {
    auto waiting = environment->mediaControlled.wait();
    co_await std::move(waiting);
  }
  if (auto state = std::exchange(environment->recordingAudioEnvironmentState, std::nullopt)) {
    if (state->didPauseMedia) {
      auto resuming = use_.audioSessionManager.resumeMedia(*state);
      co_await std::move(resuming);
      log_.info("Media playback resumed after recording");
    } else if (state->originalVolume) {
      auto restoring = use_.audioSessionManager.restoreAudioEnvironment(*state);
      co_await std::move(restoring);
      log_.info("Audio environment restored after recording");
    }
  }
  if (environment->isRaisingVolume) {
    auto waiting = environment->volumeRaised.wait();
    co_await std::move(waiting);
  }
  if (const auto volume = std::exchange(environment->originalMicVolume, std::nullopt)) {
    auto restoring = use_.deviceManager.restoreInputVolume(*volume);
    co_await std::move(restoring);
  }
  pass = SerialGate::Pass();
  environment->undone.resolve();
}

// --- while it runs

double RecordingLifecycle::elapsedSeconds() const {
  if (!capture_) return 0;
  if (capture_->durationAtInterruption) return *capture_->durationAtInterruption;
  return std::chrono::duration<double>(use_.executor.now() - capture_->startedAt).count();
}

Task<void> RecordingLifecycle::updateDuration() {
  while (true) {
    co_await sleepFor(durationInterval);
    recordingDuration_.set(elapsedSeconds());
  }
}

void RecordingLifecycle::interrupted(const AudioRecorder::Interruption& interruption) {
  if (!capture_) return;
  capture_->interruption = interruption;
  if (!isRecording_.get()) return;  // told when the start is through
  if (!capture_->durationAtInterruption) capture_->durationAtInterruption = elapsedSeconds();
  recordingTimer_.cancel();
  recordingDuration_.set(*capture_->durationAtInterruption);
  log_.error("Recording interrupted after %{public}fs: %s", *capture_->durationAtInterruption,
             interruption.description);
  leaveBreadcrumb(QStringLiteral("Recording interrupted"), ReportLevel::warning,
                  {{QStringLiteral("kind"), int(interruption.kind)},
                   {QStringLiteral("errorDescription"), interruption.description},
                   {QStringLiteral("recordingDurationMs"), milliseconds(*capture_->durationAtInterruption)},
                   {QStringLiteral("sessionId"), sessionIdOf(capture_->session)}});
  static constexpr auto tell = [](RecordingLifecycle& self, AudioRecorder::Interruption what) -> Task<void> {
    if (const auto callback = self.onInterrupted_) callback(std::move(what));
    co_return;
  };
  scope_.spawn(tell(*this, interruption));
}

// --- stop

Task<std::optional<RecordingStopResult>> RecordingLifecycle::stopRecording() {
  return shielded(finish());
}

Task<std::optional<RecordingStopResult>> RecordingLifecycle::finish() {
  if (!isRecording_.get() || !capture_) co_return std::nullopt;
  const double duration = elapsedSeconds();
  const std::shared_ptr<Capture> capture = std::exchange(capture_, nullptr);
  capture->duration = duration;
  if (use_.sessionManager.currentRecordingSession() == capture->session) use_.sessionManager.takeCurrentSession();
  if (duration * 1000 < minimumDurationMs) use_.sessionManager.discardSession(capture->session);
  recordingTimer_.cancel();
  recordingStartTime_.reset();
  isRecording_.set(false);
  recordingDuration_.set(0);

  auto entering = gate_.enter();
  auto pass = co_await std::move(entering);
  auto stopping = use_.simpleRecorder.stop();
  co_await std::move(stopping);
  const std::optional<TimePoint> firstSampleAt = use_.simpleRecorder.firstSampleAt();
  beginUndo(capture->environment, std::move(pass));
  audioLevel_.set(0.0F);
  log_.info("Stopped recording - Duration: %{public}fs", duration);

  auto finishing = finishFile(capture);
  const Finished finished = co_await std::move(finishing);

  RecordingStopResult result;
  result.path = finished.path;
  result.duration = duration;
  result.conversionWarning = finished.conversionWarning;
  result.interruption = capture->interruption;
  result.session = capture->session;
  result.firstSampleAt = firstSampleAt;
  bool isRowSafe = true;
  if (finished.path && capture->session) {
    std::optional<AudioFileProperties> properties;
    if (const auto read = AudioFileProperties::read(use_.mediaReaders, *finished.path)) properties = *read;
    capture->session->audioFormat = audioFormatText(*finished.path, properties);
    const QFileInfo file(*finished.path);
    if (file.exists() && file.size() < minimumSizeBytes) use_.sessionManager.discardSession(capture->session);
    isRowSafe = use_.sessionManager.completeSession(capture->session, *finished.path, duration);
  }
  if (finished.isRawObsolete && isRowSafe) QFile::remove(capture->rawURL);
  lastRecordingURL_.set(finished.path);

  // What other programs play comes back while the file is finished; a player that doesn't answer is not waited for.
  auto undoing = waitABit(capture->environment->undone);
  co_await std::move(undoing);
  use_.simpleRecorder.prepare();
  co_return result;
}

Task<RecordingLifecycle::Finished> RecordingLifecycle::finishFile(std::shared_ptr<Capture> capture) {
  Finished finished;
  finished.path = capture->finalURL;
  auto promoting = promote(capture, finished);
  const auto promoted = co_await std::move(promoting);
  if (promoted) co_return finished;

  reportFinalizationFailure(*capture, finished, promoted.error());
  if (QFileInfo::exists(capture->rawURL)) {
    if (const auto rescued = moveToFinalWav(*capture)) {
      log_.info("Renamed the raw file to keep it: %{public}s", nameOf(*rescued));
      finished.path = *rescued;
      finished.isRawObsolete = true;
    } else {
      log_.error("Failed to rename the raw file: %s", localizedDescription(rescued.error()));
      finished.path.reset();
    }
  }
  co_return finished;
}

Task<Result<void, AnyError>> RecordingLifecycle::promote(std::shared_ptr<Capture> capture, Finished& finished) {
  const QString raw = capture->rawURL;
  auto waiting = waitForRawFileReady(raw);
  const bool isReady = co_await std::move(waiting);
  if (!isReady) {
    const QFileInfo info(raw);
    const bool exists = info.exists();
    const qint64 size = exists ? info.size() : 0;
    const AnyError error = audioError(AudioError::Kind::recordingTooShort);
    log_.error("Raw WAV file not ready or too small: %{public}s (exists: %{bool}d, size: %lld bytes)", nameOf(raw),
               exists, size);
    leaveBreadcrumb(QStringLiteral("Recording too short - WAV file not ready"), ReportLevel::warning,
                    {{QStringLiteral("rawPath"), raw},
                     {QStringLiteral("fileExists"), exists},
                     {QStringLiteral("fileSizeBytes"), size},
                     {QStringLiteral("minimumDurationMs"), minimumDurationMs},
                     {QStringLiteral("errorDescription"), localizedDescription(error)},
                     {QStringLiteral("sessionId"), sessionIdOf(capture->session)}});
    co_return Failed{error};
  }
  const auto properties = validate(raw);
  if (!properties) co_return Failed{properties.error()};
  leaveBreadcrumb(QStringLiteral("Processing recorded WAV file"), ReportLevel::info,
                  {{QStringLiteral("rawPath"), raw},
                   {QStringLiteral("destPath"), capture->finalURL},
                   {QStringLiteral("recordingDurationMs"), milliseconds(capture->duration)},
                   {QStringLiteral("sessionId"), sessionIdOf(capture->session)}});

  const qint64 size = QFileInfo(raw).size();
  if (size >= wavToM4AThresholdBytes) {
    auto compressing = compress(capture, size, finished);
    co_return co_await std::move(compressing);
  }
  const auto moved = moveToFinalWav(*capture);
  if (!moved) co_return Failed{moved.error()};
  finished.path = *moved;
  finished.isRawObsolete = true;
  log_.info("WAV file size (%lldKB) is under 25MB - using WAV: %{public}s", size / 1024, nameOf(*moved));
  leaveBreadcrumb(QStringLiteral("Using WAV directly (under 25MB threshold)"), ReportLevel::info,
                  {{QStringLiteral("wavPath"), *moved},
                   {QStringLiteral("wavSizeBytes"), size},
                   {QStringLiteral("sampleRate"), properties->sampleRate},
                   {QStringLiteral("channels"), properties->channelCount}});
  co_return Result<void, AnyError>();
}

Task<bool> RecordingLifecycle::waitForRawFileReady(QString path) {
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

Result<AudioFileProperties, AnyError> RecordingLifecycle::validate(const QString& path) const {
  const QFileInfo info(path);
  if (info.isFile() && info.isReadable() && info.size() > 0) {
    const auto properties = AudioFileProperties::read(use_.mediaReaders, path);
    if (properties && properties->isUsable()) return *properties;
    if (!properties) log_.error("The raw file can't be opened: %s", properties.error().description);
  }
  return Failed{audioError(AudioError::Kind::fileNotReadable)};
}

// Gives the raw file its final name. The raw name stays beside it where the file system has links, until the row names
// the final one: a process that is killed in between leaves a row whose file is there.
Result<QString, AnyError> RecordingLifecycle::moveToFinalWav(const Capture& capture) const {
  const QString& target = capture.finalURL;
  QFile::remove(target);
  std::error_code failure;
  std::filesystem::create_hard_link(systemPath(capture.rawURL), systemPath(target), failure);
  if (!failure) return target;
  QFile file(capture.rawURL);
  if (file.rename(target)) return target;
  return Failed{AnyError(PlatformError{QStringLiteral("filesystem"), int(file.error()), file.errorString()})};
}

Task<Result<void, AnyError>> RecordingLifecycle::compress(std::shared_ptr<Capture> capture, qint64 sizeBytes,
                                                          Finished& finished) {
  const QString raw = capture->rawURL;
  const QString target = withExtension(capture->finalURL, "m4a");
  auto converting = convertWithRetry(raw, target);
  const ConversionRetryResult primary = co_await std::move(converting);
  if (primary.success) {
    finished.path = target;
    finished.isRawObsolete = true;
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
  auto exporting = exportFallback(raw, target);
  const auto exported = co_await std::move(exporting);
  if (exported) {
    finished.path = target;
    finished.isRawObsolete = true;
    leaveBreadcrumb(QStringLiteral("AVAssetExportSession fallback succeeded for large WAV"), ReportLevel::info,
                    {{QStringLiteral("originalWavSizeBytes"), sizeBytes}, {QStringLiteral("m4aPath"), target}});
    co_return Result<void, AnyError>();
  }
  log_.error("AVAssetExportSession fallback failed: %{public}s", localizedDescription(exported.error()));

  log_.error("All M4A conversion methods failed - keeping oversized WAV to prevent data loss");
  QFile::remove(target);
  const auto moved = moveToFinalWav(*capture);
  if (!moved) co_return Failed{moved.error()};
  finished.path = *moved;
  finished.isRawObsolete = true;
  finished.conversionWarning = localizedText("recording.warning.oversizedWAV", sizeBytes >> 20);
  leaveBreadcrumb(QStringLiteral("All M4A conversions failed - keeping oversized WAV"), ReportLevel::warning,
                  {{QStringLiteral("wavPath"), *moved},
                   {QStringLiteral("wavSizeBytes"), sizeBytes},
                   {QStringLiteral("primaryAttempts"), primary.attempts},
                   {QStringLiteral("primaryError"),
                    primary.lastError ? localizedDescription(*primary.lastError) : QStringLiteral("unknown")},
                   {QStringLiteral("exportSessionError"), localizedDescription(exported.error())}});
  co_return Result<void, AnyError>();
}

Task<ConversionRetryResult> RecordingLifecycle::convertWithRetry(QString from, QString to) {
  ConversionRetryResult result;
  while (result.attempts < conversionAttempts) {
    ++result.attempts;
    log_.info("M4A conversion attempt %ld/%ld", result.attempts, conversionAttempts);
    QFile::remove(to);
    auto converting = use_.audioFileConverter.convertAudioToAAC(from, to);
    const auto converted = co_await std::move(converting);
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

Task<Result<void, AnyError>> RecordingLifecycle::exportFallback(QString from, QString to) {
  QFile::remove(to);
  auto exporting = use_.audioFileConverter.exportToM4A(from, to);
  const auto exported = co_await std::move(exporting);
  if (!exported) co_return Failed{exported.error()};
  if (!QFileInfo::exists(to)) co_return Failed{audioError(AudioError::Kind::exportFailed)};
  co_return Result<void, AnyError>();
}

void RecordingLifecycle::reportFinalizationFailure(const Capture& capture, const Finished& finished,
                                                   const AnyError& error) {
  const QFileInfo raw(capture.rawURL);
  const bool rawExists = raw.exists();
  const qint64 rawSize = rawExists ? raw.size() : -1;
  const qint64 durationMs = milliseconds(capture.duration);
  QString shortReason = QStringLiteral("unknown");
  if (durationMs < minimumDurationMs)
    shortReason = QStringLiteral("duration");
  else if (rawSize >= 0 && rawSize < minimumSizeBytes)
    shortReason = QStringLiteral("file_size");
  const QString target = finished.path.value_or(capture.finalURL);
  const QVariantMap diagnostics{{QStringLiteral("phase"), QStringLiteral("wav_finalization_error")},
                                {QStringLiteral("errorType"), errorTypeName(error)},
                                {QStringLiteral("errorCode"), errorCode(error)},
                                {QStringLiteral("errorDescription"), localizedDescription(error)},
                                {QStringLiteral("recordingDurationMs"), durationMs},
                                {QStringLiteral("minimumDurationMs"), minimumDurationMs},
                                {QStringLiteral("minimumSizeBytes"), minimumSizeBytes},
                                {QStringLiteral("rawURL"), capture.rawURL},
                                {QStringLiteral("dstURL"), target},
                                {QStringLiteral("rawExists"), rawExists},
                                {QStringLiteral("rawReadable"), rawExists && raw.isReadable()},
                                {QStringLiteral("dstExists"), QFileInfo::exists(target)},
                                {QStringLiteral("rawSizeBytes"), rawSize},
                                {QStringLiteral("volumeFreeBytes"), QStorageInfo(raw.path()).bytesAvailable()},
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

bool RecordingLifecycle::pointRowAt(const TranscriptPtr& transcript, const QString& path) {
  use_.persistence.updateTranscriptAudioPath(transcript, path);
  return transcript->audioFilePath == path && !use_.persistence.hasChanges();
}

Task<void> RecordingLifecycle::convertInBackground(QString path, TranscriptPtr transcript) {
  if (QFileInfo(path).suffix().toLower() != QStringLiteral("wav")) {
    log_.info("Skipping background M4A conversion - file is not WAV: %{public}s", nameOf(path));
    co_return;
  }
  if (!transcript) co_return;
  log_.info("Starting background WAV→M4A conversion: %{public}s", nameOf(path));
  const QString target = withExtension(path, "m4a");
  QFile::remove(target);
  auto converting = use_.audioFileConverter.convertAudioToAAC(path, target);
  const auto converted = co_await std::move(converting);
  std::optional<AnyError> fallbackError;
  if (!converted) {
    log_.error("Background primary M4A conversion failed: %{public}s - trying fallback",
               localizedDescription(converted.error()));
    auto exporting = exportFallback(path, target);
    const auto exported = co_await std::move(exporting);
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
  if (!pointRowAt(transcript, target)) {
    log_.error("The transcript could not be pointed at the M4A, keeping the WAV too: %{public}s", nameOf(path));
    co_return;
  }
  QFile::remove(path);
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
