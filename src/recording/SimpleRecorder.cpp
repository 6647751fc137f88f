#include "recording/SimpleRecorder.h"

#include <QFileInfo>

#include "base/async/Combinators.h"

namespace quillmere {
namespace {

constexpr std::chrono::milliseconds meterInterval{33};

AnyError recordingFailed(const QString& reason) {
  return AudioError{AudioError::Kind::recordingFailed, reason};
}

}  // namespace

const SimpleRecorder::RecordSettings SimpleRecorder::recordSettings{
    QStringLiteral("lpcm"), 16000.0, 1, 16, false, false, false};

SimpleRecorder::SimpleRecorder(AudioRecorderFactory& recorders, Executor& executor, const Logging& logging)
    : recorders_(recorders),
      executor_(executor),
      log_(logging.logger(QStringLiteral("SimpleRecorder"))),
      scope_(executor) {}

void SimpleRecorder::setOnInterrupted(std::function<void(AudioRecorder::Interruption)> callback) {
  onInterrupted_ = std::move(callback);
}

float SimpleRecorder::levelOf(float decibels) {
  if (!(decibels > minDb)) return 0.0F;
  if (decibels >= maxDb) return 1.0F;
  return (decibels - minDb) / (maxDb - minDb);
}

Task<Result<void, AnyError>> SimpleRecorder::start(QString path) {
  meterUpdateTask_.cancel();
  recorder_.reset();
  firstSampleAt_.reset();
  auto recorder = recorders_.create();
  if (!recorder) {
    log_.error("Failed to create AVAudioRecorder: %s", "the platform has none");
    co_return Failed{recordingFailed(QStringLiteral("the platform has none"))};
  }
  // An interruption that comes before the recorder is ours is told once it is.
  std::shared_ptr<std::optional<AudioRecorder::Interruption>> early =
      std::make_shared<std::optional<AudioRecorder::Interruption>>();
  recorder->setInterruptionObserver([this, early, raw = recorder.get()](AudioRecorder::Interruption interruption) {
    if (recorder_.get() == raw)
      interrupted(raw, std::move(interruption));
    else
      *early = std::move(interruption);
  });
  recordCalledAt_ = executor_.now();
  const auto started = co_await recorder->record(path);
  if (!started) {
    if (started.error().description.isEmpty()) {
      log_.error("AVAudioRecorder.record() returned false");
      co_return Failed{recordingFailed(QStringLiteral("Failed to start recording"))};
    }
    log_.error("Failed to create AVAudioRecorder: %s", started.error().description);
    co_return Failed{recordingFailed(started.error().description)};
  }
  recorder_ = std::move(recorder);
  isRecording_.set(true);
  meterUpdateTask_ = scope_.spawn(updateMeter());
  log_.info("SimpleRecorder started recording to: %{public}s", QFileInfo(path).fileName());
  if (*early) interrupted(recorder_.get(), **early);
  co_return Result<void, AnyError>();
}

Task<void> SimpleRecorder::updateMeter() {
  while (recorder_) {
    audioLevel_.set(levelOf(recorder_->averagePowerDecibels()));
    co_await sleepFor(meterInterval);
  }
}

void SimpleRecorder::interrupted(const AudioRecorder* recorder, AudioRecorder::Interruption interruption) {
  if (recorder != recorder_.get()) return;
  meterUpdateTask_.cancel();
  audioLevel_.set(0.0F);
  log_.error("The recording was interrupted: %s", interruption.description);
  if (const auto callback = onInterrupted_) callback(std::move(interruption));
}

Task<void> SimpleRecorder::stop() {
  meterUpdateTask_.cancel();
  const std::unique_ptr<AudioRecorder> recorder = std::move(recorder_);
  isRecording_.set(false);
  audioLevel_.set(0.0F);
  if (recorder) {
    co_await shielded(recorder->stop());
    if (const auto latency = recorder->firstSampleLatency()) firstSampleAt_ = recordCalledAt_ + *latency;
  }
  log_.info("SimpleRecorder stopped recording");
}

std::optional<TimePoint> SimpleRecorder::firstSampleAt() const {
  if (!recorder_) return firstSampleAt_;
  const auto latency = recorder_->firstSampleLatency();
  return latency ? std::optional(recordCalledAt_ + *latency) : std::nullopt;
}

}  // namespace quillmere
