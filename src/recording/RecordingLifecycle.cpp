#include "recording/RecordingLifecycle.h"

#include <QFileInfo>
#include <QUuid>
#include <cerrno>
#include <cmath>
#include <cstring>

#include "base/async/Combinators.h"
#include "base/text/LocalizedText.h"
#include "storage/PrivateFolder.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr auto folderLimit = 120s;
constexpr auto durationInterval = 100ms;
constexpr auto environmentPatience = 300ms;

AnyError audioError(AudioError::Kind kind, const QString& reason = {}) {
  return AudioError{kind, reason};
}

}  // namespace

struct RecordingLifecycle::Capture {
  QString rawURL;
  RecordingSessionPtr session;
  std::shared_ptr<RecordingEnvironment::Changes> changes;
  qint64 startedAtSeconds = 0;  // since 1970
  TimePoint startedAt;
  std::optional<AudioRecorder::Interruption> interruption;
  std::optional<double> durationAtInterruption;
};

RecordingLifecycle::RecordingLifecycle(Dependencies dependencies, const Logging& logging)
    : use_(dependencies), log_(logging.logger(QStringLiteral("RecordingLifecycle"))), scope_(use_.executor) {
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

QString RecordingLifecycle::recordingsFolder() const {
  const QString chosen = use_.settings.storage().folderForRecordings();
  return chosen.isEmpty() ? use_.settings.folders().documents + QStringLiteral("/Recordings") : chosen;
}

// --- start

Task<Result<StartedRecording, AnyError>> RecordingLifecycle::startRecording() {
  if (!hasMicrophonePermission_) co_return Failed{audioError(AudioError::Kind::noPermission)};
  use_.simpleRecorder.prepare();
  SerialGate::Pass pass = co_await enterWhenIdle();
  const auto capture = std::make_shared<Capture>();
  Result<void, AnyError> started;
  bool isCancelled = false;
  try {
    started = co_await record(capture);
  } catch (const Cancelled&) {
    isCancelled = true;
  }
  if (started && !isCancelled) co_return StartedRecording{capture->session};
  co_await shielded(undoStart(capture, std::move(pass), isCancelled));
  if (isCancelled) throw Cancelled{};
  co_return Failed{started.error()};
}

Task<SerialGate::Pass> RecordingLifecycle::enterWhenIdle() {
  while (true) {
    SerialGate::Pass pass = co_await gate_.enter();
    if (!isRecording_.get()) co_return pass;
    pass = SerialGate::Pass();
    co_await shielded(finishOlder());
  }
}

Task<Result<void, AnyError>> RecordingLifecycle::record(std::shared_ptr<Capture> capture) {
  co_await throwIfCancelled();
  const bool isFolderUsable = co_await use_.settings.storage().waitForRecordingsFolder(folderLimit);
  if (!isFolderUsable)
    co_return Failed{audioError(AudioError::Kind::recordingFailed, localizedText("recording.error.documentsAccess"))};

  capture->changes = use_.environment.change();
  co_await use_.environment.waitUntilQuiet(capture->changes);
  createRow(*capture);

  capture->startedAt = use_.executor.now();
  capture_ = capture;
  CO_TRY_OK(co_await use_.simpleRecorder.start(capture->rawURL));

  capture->startedAt = use_.executor.now();
  recordingStartTime_ = use_.clock.now();
  isRecording_.set(true);
  if (capture->interruption)
    interrupted(*capture->interruption);
  else
    recordingTimer_ = scope_.spawn(updateDuration());
  log_.info("Started recording to file: %{public}s", QFileInfo(capture->rawURL).fileName());
  co_return Result<void, AnyError>();
}

// From here on a killed process leaves a row that names the file.
void RecordingLifecycle::createRow(Capture& capture) {
  const QString folder = recordingsFolder();
  if (!makePrivateFolder(folder))
    log_.error("Failed to create recordings directory: %s", QString::fromLocal8Bit(std::strerror(errno)));
  else
    log_.info("Recordings directory ready: %{public}s", folder);

  capture.startedAtSeconds = use_.clock.now().toSecsSinceEpoch();
  capture.rawURL = folder + QStringLiteral("/.incomplete_") + QUuid::createUuid().toString(QUuid::WithoutBraces) +
                   QStringLiteral(".wav");
  std::optional<QString> deviceId;
  QString deviceName = localizedText("audio.device.default");
  if (const auto device = use_.deviceManager.selectedDeviceInUse()) {
    deviceId = device->id;
    deviceName = device->name;
  }
  const auto& settings = SimpleRecorder::recordSettings;
  capture.session = use_.sessionManager.createSession(deviceId, deviceName, settings.sampleRate, settings.channelCount,
                                                      QStringLiteral("WAV PCM 16000Hz 1ch"), capture.rawURL);
}

// The recorder has ended with its task.
Task<void> RecordingLifecycle::undoStart(std::shared_ptr<Capture> capture, SerialGate::Pass pass, bool isCancelled) {
  if (capture_ == capture) capture_.reset();
  if (capture->session) use_.sessionManager.deleteSession(capture->session);
  if (!capture->changes) co_return;
  Completion<void> undone = use_.environment.giveBack(capture->changes, std::move(pass));
  if (isCancelled)
    co_await undone.wait();
  else
    co_await withTimeout(environmentPatience, undone.wait());  // the user waits for the message
}

// --- while it runs

double RecordingLifecycle::elapsedSeconds(const Capture& capture) const {
  if (capture.durationAtInterruption) return *capture.durationAtInterruption;
  return std::chrono::duration<double>(use_.executor.now() - capture.startedAt).count();
}

Task<void> RecordingLifecycle::updateDuration() {
  while (true) {
    co_await sleepFor(durationInterval);
    if (capture_) recordingDuration_.set(elapsedSeconds(*capture_));
  }
}

void RecordingLifecycle::interrupted(const AudioRecorder::Interruption& interruption) {
  if (!capture_) return;
  capture_->interruption = interruption;
  if (!isRecording_.get()) return;  // told when the start is through
  if (!capture_->durationAtInterruption) capture_->durationAtInterruption = elapsedSeconds(*capture_);
  const double duration = *capture_->durationAtInterruption;
  recordingTimer_.cancel();
  recordingDuration_.set(duration);
  log_.error("Recording interrupted after %{public}fs: %s", duration, interruption.description);
  if (use_.reporting && use_.reporting->isEnabled())
    use_.reporting->addBreadcrumb({QStringLiteral("Recording interrupted"),
                                   QStringLiteral("audio.recording"),
                                   ReportLevel::warning,
                                   {{QStringLiteral("kind"), int(interruption.kind)},
                                    {QStringLiteral("errorDescription"), interruption.description},
                                    {QStringLiteral("recordingDurationMs"), qint64(std::llround(duration * 1000))}}});
  static constexpr auto tell = [](RecordingLifecycle& self, AudioRecorder::Interruption what) -> Task<void> {
    if (const auto callback = self.onInterrupted_) callback(std::move(what));
    co_return;
  };
  scope_.spawn(tell(*this, interruption));
}

// --- stop

Task<std::optional<RecordingStopResult>> RecordingLifecycle::stopRecording(StopIntent intent, bool keepsLargeWav) {
  return shielded(finish(intent, keepsLargeWav));
}

// Nobody gets its result, so its place in the history is given to it here.
Task<void> RecordingLifecycle::finishOlder() {
  const auto older = co_await finish(StopIntent::keep, false);
  if (older && older->path)
    use_.sessionManager.createFailedTranscript(older->session, localizedText("recording.error.replaced"));
}

Task<std::optional<RecordingStopResult>> RecordingLifecycle::finish(StopIntent intent, bool keepsLargeWav) {
  if (!isRecording_.get() || !capture_) co_return std::nullopt;
  const std::shared_ptr<Capture> capture = std::exchange(capture_, nullptr);
  RecordingStopResult result;
  result.duration = elapsedSeconds(*capture);
  result.interruption = capture->interruption;
  if (intent == StopIntent::discard || result.duration < RecordingFinisher::minimumSeconds)
    use_.sessionManager.discardSession(capture->session);
  recordingTimer_.cancel();
  recordingStartTime_.reset();
  isRecording_.set(false);
  recordingDuration_.set(0);

  SerialGate::Pass pass = co_await gate_.enter();
  co_await use_.simpleRecorder.stop();
  result.firstSampleAt = use_.simpleRecorder.firstSampleAt();
  Completion<void> undone = use_.environment.giveBack(capture->changes, std::move(pass));
  audioLevel_.set(0.0F);
  log_.info("Stopped recording - Duration: %{public}fs", result.duration);

  RecordingFinisher::RawRecording raw{capture->rawURL, capture->startedAtSeconds, result.duration, capture->session,
                                      keepsLargeWav};
  const RecordingFinisher::Finished finished = co_await use_.finisher.finish(std::move(raw));
  result.path = finished.path;
  result.conversionWarning = finished.conversionWarning;
  result.isTooShort = finished.isTooShort;
  if (!finished.isTooShort) result.session = capture->session;
  lastRecordingURL_.set(finished.path);

  // What other programs play comes back while the file is finished; a player that doesn't answer is not waited for.
  co_await withTimeout(environmentPatience, undone.wait());
  use_.simpleRecorder.prepare();
  co_return result;
}

Task<void> RecordingLifecycle::convertInBackground(QString path, TranscriptPtr transcript) {
  return use_.finisher.convertInBackground(std::move(path), std::move(transcript));
}

}  // namespace quillmere
