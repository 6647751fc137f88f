#include "platform/pulse/PulseAudioCapture.h"

#include <pulse/def.h>

#include <mutex>

#include "base/async/Combinators.h"
#include "base/text/LocalizedText.h"
#include "platform/pulse/PulseErrors.h"

namespace quillmere {
namespace {

constexpr Duration startLimit = std::chrono::seconds(3);
constexpr Duration drainLimit = std::chrono::milliseconds(250);  // the stream's own limit is shorter
constexpr Duration serverEndLimit = std::chrono::milliseconds(100);

}  // namespace

// Between the library's thread and the main thread.
struct PulseAudioCapture::Samples {
  // Library's thread. The main thread is told once for what it has not taken yet.
  void append(std::span<const std::int16_t> block, Executor& executor, const std::shared_ptr<Samples>& self) {
    bool isFirst = false;
    {
      const std::lock_guard lock(mutex);
      isFirst = gathered.empty();
      gathered.insert(gathered.end(), block.begin(), block.end());
    }
    if (isFirst) executor.post([self] { self->change.resolve(); });
  }
  Samples16kHz take() {
    const std::lock_guard lock(mutex);
    return std::exchange(gathered, {});
  }

  std::mutex mutex;
  Samples16kHz gathered;  // guarded by mutex
  Completion<> change;    // main thread
};

PulseAudioCapture::PulseAudioCapture(PulseConnection& connection, PulseAudioDevices& devices)
    : connection_(connection),
      devices_(devices),
      samples_(std::make_shared<Samples>()),
      scope_(connection.executor()) {}

PulseAudioCapture::~PulseAudioCapture() {
  alive_.reset();
  closeStream();
}

Task<Result<void, PlatformError>> PulseAudioCapture::start(std::optional<QString> deviceUid) {
  if (std::exchange(isStarted_, true)) co_return Failed{soundError(PA_ERR_BADSTATE)};
  if (!co_await connection_.waitUntilReady(startLimit)) co_return Failed{soundError(connection_.lastError())};
  co_await devices_.waitUntilReady();
  if (!deviceUid) deviceUid = devices_.defaultInputUid();
  if (!deviceUid) co_return Failed{soundError(PA_ERR_NOENTITY)};
  const int error = co_await open(*deviceUid);
  if (error == PA_OK || error == PA_ERR_ACCESS) connection_.noteAccess(error == PA_OK);
  if (error == PA_OK && stream_) {
    isRunning_ = true;
    co_return Result<void, PlatformError>{};
  }
  closeStream();
  co_return Failed{soundError(error == PA_OK ? int(PA_ERR_KILLED) : error)};
}

Task<int> PulseAudioCapture::open(QString source) {
  stream_ = std::make_shared<PulseStream>(connection_.api());
  Completion<int> started;
  Executor* const executor = &connection_.executor();
  const auto report = [executor, started](int error) {
    executor->post([started, error]() mutable { started.resolve(error); });
  };
  const auto samples = [executor, samples = samples_](std::span<const std::int16_t> block) {
    samples->append(block, *executor, samples);
  };
  const auto ended = [this, executor, alive = std::weak_ptr<int>(alive_)](PulseStream::End end) {
    executor->post([this, alive, end] {
      if (!alive.expired() && stream_) scope_.spawn(interrupt(end));
    });
  };
  connection_.run([stream = stream_, source, report, samples, ended](pa_context* context) {
    stream->open(context, source, [stream = stream.get(), report, samples, ended](int error) {
      if (error != PA_OK)
        report(error);
      else
        stream->start(samples, report, ended);
    });
  });
  const std::optional<int> error = co_await withTimeout(startLimit, started.wait([this] { closeStream(); }));
  co_return error.value_or(PA_ERR_TIMEOUT);
}

Task<Result<AudioCapture::Samples16kHz, AudioCapture::Interruption>> PulseAudioCapture::read() {
  for (;;) {
    samples_->change = Completion<>();
    Samples16kHz taken = samples_->take();
    if (!taken.empty()) co_return taken;
    if (interruption_) co_return Failed{*interruption_};
    if (!isRunning_) co_return Samples16kHz();
    co_await samples_->change.wait();
  }
}

Task<void> PulseAudioCapture::stop() {
  if (isRunning_ && stream_) co_await shielded(drain());
  closeStream();
  over();
}

Task<void> PulseAudioCapture::drain() {
  Completion<> drained;
  Executor* const executor = &connection_.executor();
  connection_.run([stream = std::exchange(stream_, nullptr), executor, drained](pa_context*) {
    stream->drain([executor, drained] { executor->post([drained]() mutable { drained.resolve(); }); });
  });
  co_await withTimeout(drainLimit, drained.wait());
}

Task<void> PulseAudioCapture::interrupt(PulseStream::End end) {
  closeStream();
  // A server that ends takes its sources away first.
  if (end == PulseStream::End::sourceGone) co_await sleepFor(serverEndLimit);
  const bool isServerThere = connection_.state() == PulseConnection::State::ready;
  interruption_ = isServerThere
                      ? Interruption{Interruption::Kind::deviceGone, localizedText("audio.capture.deviceGone")}
                      : Interruption{Interruption::Kind::serverGone, localizedText("audio.capture.serverGone")};
  over();
}

void PulseAudioCapture::closeStream() {
  if (const auto stream = std::exchange(stream_, nullptr)) connection_.run([stream](pa_context*) { stream->close(); });
}

void PulseAudioCapture::over() {
  isRunning_ = false;
  samples_->change.resolve();
}

}  // namespace quillmere
