#include "platform/pulse/PulseAudioRecorder.h"

#include <pulse/def.h>
#include <pulse/error.h>

#include <chrono>
#include <cmath>

#include "base/async/Combinators.h"
#include "base/text/LocalizedText.h"
#include "platform/pulse/PulseErrors.h"

namespace quillmere {
namespace {

constexpr Duration startLimit = std::chrono::seconds(3);
constexpr Duration drainLimit = std::chrono::milliseconds(250);  // the stream's own limit is shorter
constexpr Duration fileLimit = std::chrono::seconds(5);
constexpr Duration serverEndLimit = std::chrono::milliseconds(100);
constexpr float silenceDecibels = -160;

}  // namespace

// What the library's thread counts and the main thread reads.
struct PulseAudioRecorder::Meter {
  void add(std::span<const std::int16_t> samples) {
    double sum = 0;
    for (const std::int16_t sample : samples) sum += double(sample) * sample;
    const std::lock_guard lock(mutex);
    if (!firstSampleAt) firstSampleAt = std::chrono::steady_clock::now();
    squares += sum;
    count += qint64(samples.size());
    total += qint64(samples.size());
  }

  mutable std::mutex mutex;
  TimePoint startedAt{};
  std::optional<TimePoint> firstSampleAt;
  double squares = 0;
  qint64 count = 0;
  qint64 total = 0;
};

// Ends a capture whose record() is left before it was complete.
class PulseAudioRecorder::StartGuard {
 public:
  explicit StartGuard(PulseAudioRecorder& recorder) : recorder_(&recorder), alive_(recorder.alive_) {}
  StartGuard(const StartGuard&) = delete;
  StartGuard& operator=(const StartGuard&) = delete;
  ~StartGuard() {
    if (!recorder_ || alive_.expired() || recorder_->phase_ != Phase::starting) return;
    if (recorder_->file_) recorder_->file_->discard();
    recorder_->abandon();
  }
  void dismiss() { recorder_ = nullptr; }

 private:
  PulseAudioRecorder* recorder_;
  std::weak_ptr<int> alive_;
};

PulseAudioRecorder::PulseAudioRecorder(PulseConnection& connection, PulseAudioDevices& devices,
                                       PreparedStream& prepared)
    : connection_(connection),
      devices_(devices),
      prepared_(prepared),
      meter_(std::make_shared<Meter>()),
      scope_(connection.executor()) {}

PulseAudioRecorder::~PulseAudioRecorder() {
  alive_.reset();
  closeStream();
  if (file_) file_->completeAndWait();
  if (phase_ != Phase::idle && phase_ != Phase::over) prepared_.resume();
}

void PulseAudioRecorder::setInterruptionObserver(std::function<void(Interruption)> observer) {
  observer_ = std::move(observer);
}

Task<Result<void, PlatformError>> PulseAudioRecorder::record(QString path) {
  if (phase_ != Phase::idle) co_return Failed{soundError(PA_ERR_BADSTATE)};
  phase_ = Phase::starting;
  meter_->startedAt = std::chrono::steady_clock::now();
  StartGuard guard(*this);
  makeFile(path);
  const Result<void, PlatformError> captured = co_await startCapture();
  const Result<void, PlatformError> opened = co_await opened_.wait();
  if (phase_ != Phase::starting) co_return Failed{soundError(PA_ERR_KILLED)};
  if (!captured || !opened) {
    file_->discard();
    abandon();
    if (opened) co_return Failed{captured.error()};
    PlatformError error = opened.error();
    error.description = QStringLiteral("%1 (%2)").arg(localizedText("audio.error.createFile"), error.description);
    co_return Failed{error};
  }
  guard.dismiss();
  phase_ = Phase::running;
  if (const auto early = std::exchange(earlyInterruption_, std::nullopt)) interrupted(early->kind, early->description);
  co_return Result<void, PlatformError>{};
}

void PulseAudioRecorder::makeFile(const QString& path) {
  Executor* const executor = &connection_.executor();
  const auto toSelf = [executor, alive = std::weak_ptr<int>(alive_)](std::function<void()> function) {
    executor->post([alive, function = std::move(function)] {
      if (!alive.expired()) function();
    });
  };
  RecordingFile::Callbacks callbacks;
  callbacks.opened = [this, toSelf](const Result<void, PlatformError>& result) {
    toSelf([this, result] { opened_.resolve(result); });
  };
  callbacks.failed = [this, toSelf](const PlatformError& error) {
    toSelf([this, error] { interrupted(Interruption::Kind::writeFailed, error.description); });
  };
  callbacks.completed = [this, toSelf] { toSelf([this] { completed_.resolve(); }); };
  file_ = std::make_shared<RecordingFile>(path, std::move(callbacks));
}

Task<Result<void, PlatformError>> PulseAudioRecorder::startCapture() {
  if (auto prepared = prepared_.take()) {
    const int error = co_await startStream(std::move(prepared), std::nullopt);
    if (error == PA_OK) co_return Result<void, PlatformError>{};
    if (error == PA_ERR_TIMEOUT) co_return Failed{soundError(error)};  // a second stream would wait as long
    connection_.log().warning("The prepared stream did not start: %{public}s", pa_strerror(error));
  }
  if (!co_await connection_.waitUntilReady(startLimit)) co_return Failed{soundError(connection_.lastError())};
  co_await devices_.waitUntilReady();
  const std::optional<QString> source = devices_.captureInputUid();
  if (!source) co_return Failed{soundError(PA_ERR_NOENTITY)};
  int error = co_await openStream(*source);
  const std::optional<QString> other = devices_.defaultInputUid();
  // Unplugged a moment ago, and the list does not say so yet.
  if (error == PA_ERR_NOENTITY && other && other != source) error = co_await openStream(*other);
  if (error == PA_OK || error == PA_ERR_ACCESS) connection_.noteAccess(error == PA_OK);
  if (error != PA_OK) co_return Failed{soundError(error)};
  co_return Result<void, PlatformError>{};
}

Task<int> PulseAudioRecorder::openStream(QString source) {
  return startStream(std::make_shared<PulseStream>(connection_.api()), std::move(source));
}

// Opens the stream first where a source is given.
Task<int> PulseAudioRecorder::startStream(std::shared_ptr<PulseStream> stream, std::optional<QString> source) {
  closeStream();
  stream_ = stream;
  Completion<int> started;
  Executor* const executor = &connection_.executor();
  const auto report = [executor, started](int error) {
    executor->post([started, error]() mutable { started.resolve(error); });
  };
  const auto samples = [file = file_, meter = meter_](std::span<const std::int16_t> block) {
    meter->add(block);
    file->append(block);
  };
  const auto ended = [this, executor, stream = stream.get(), alive = std::weak_ptr<int>(alive_)](PulseStream::End end) {
    executor->post([this, alive, stream, end] {
      if (alive.expired() || stream_.get() != stream) return;
      interrupted(end == PulseStream::End::sourceGone ? Interruption::Kind::deviceGone : Interruption::Kind::serverGone,
                  QString());
    });
  };
  connection_.run([stream, source, report, samples, ended](pa_context* context) {
    if (!source) {
      stream->start(samples, report, ended);
      return;
    }
    stream->open(context, *source, [stream = stream.get(), report, samples, ended](int error) {
      if (error != PA_OK)
        report(error);
      else
        stream->start(samples, report, ended);
    });
  });
  const std::optional<int> error = co_await withTimeout(startLimit, started.wait());
  co_return error.value_or(PA_ERR_TIMEOUT);
}

Task<void> PulseAudioRecorder::stop() {
  if (phase_ == Phase::starting) {
    abandon();
  } else if (phase_ == Phase::running) {
    phase_ = Phase::ending;
    co_await shielded(stopSteps());
  } else if (phase_ == Phase::ending) {
    stopWaiters_.emplace_back();
    co_await shielded(stopWaiters_.back().wait());
  }
}

Task<void> PulseAudioRecorder::stopSteps() {
  Completion<> drained;
  Executor* const executor = &connection_.executor();
  connection_.run([stream = stream_, executor, drained](pa_context*) {
    stream->drain([executor, drained] { executor->post([drained]() mutable { drained.resolve(); }); });
  });
  co_await withTimeout(drainLimit, drained.wait());
  closeStream();
  co_await completeFile();
  over();
}

Task<void> PulseAudioRecorder::completeFile() {
  file_->complete();
  if (!co_await withTimeout(fileLimit, completed_.wait()))
    connection_.log().error("The recording's file is not complete after five seconds");
}

void PulseAudioRecorder::interrupted(Interruption::Kind kind, QString reason) {
  if (phase_ == Phase::starting) {
    if (!earlyInterruption_) earlyInterruption_ = Interruption{kind, reason};
  } else if (phase_ == Phase::running) {
    phase_ = Phase::ending;
    scope_.spawn(interrupt(kind, std::move(reason)));
  }
}

Task<void> PulseAudioRecorder::interrupt(Interruption::Kind kind, QString reason) {
  closeStream();
  co_await completeFile();
  over();
  if (kind == Interruption::Kind::deviceGone) {
    // A server that ends takes its sources away first.
    co_await sleepFor(serverEndLimit);
    if (connection_.state() != PulseConnection::State::ready) kind = Interruption::Kind::serverGone;
  }
  Interruption told{kind, QString()};
  switch (kind) {
    case Interruption::Kind::deviceGone:
      told.description = localizedText("recording.interrupted.deviceGone");
      break;
    case Interruption::Kind::serverGone:
      told.description = localizedText("recording.interrupted.serverGone");
      break;
    case Interruption::Kind::writeFailed:
      told.description = localizedText("recording.interrupted.writeFailed", reason);
      break;
  }
  connection_.log().warning("The recording ended early: %{public}s", told.description);
  if (const auto observer = observer_) observer(std::move(told));
}

void PulseAudioRecorder::abandon() {
  closeStream();
  file_->complete();
  over();
}

void PulseAudioRecorder::closeStream() {
  if (const auto stream = std::exchange(stream_, nullptr)) connection_.run([stream](pa_context*) { stream->close(); });
}

void PulseAudioRecorder::over() {
  phase_ = Phase::over;
  prepared_.resume();
  for (auto& waiter : std::exchange(stopWaiters_, {})) waiter.resolve();
}

float PulseAudioRecorder::averagePowerDecibels() {
  const std::lock_guard lock(meter_->mutex);
  const qint64 count = std::exchange(meter_->count, 0);
  const double squares = std::exchange(meter_->squares, 0);
  if (count == 0 || squares <= 0) return silenceDecibels;
  const double rms = std::sqrt(squares / double(count)) / 32768.0;
  return std::max(silenceDecibels, float(20 * std::log10(rms)));
}

double PulseAudioRecorder::recordedSeconds() const {
  const std::lock_guard lock(meter_->mutex);
  return double(meter_->total) / PulseStream::sampleRate;
}

std::optional<Duration> PulseAudioRecorder::firstSampleLatency() const {
  const std::lock_guard lock(meter_->mutex);
  if (!meter_->firstSampleAt) return std::nullopt;
  return *meter_->firstSampleAt - meter_->startedAt;
}

}  // namespace quillmere
