#include "platform/pulse/PulseOutputVolume.h"

#include <pulse/context.h>
#include <pulse/error.h>
#include <pulse/introspect.h>

#include <algorithm>
#include <cmath>

#include "base/async/Combinators.h"
#include "platform/pulse/PulseReply.h"

namespace quillmere {
namespace {

constexpr Duration stepLimit = std::chrono::milliseconds(450);
const QString defaultSink = QStringLiteral("@DEFAULT_SINK@");

PlatformError outputError(int code) {
  return PlatformError{QStringLiteral("audio"), code, QString::fromUtf8(pa_strerror(code))};
}

pa_cvolume volumesOf(const std::vector<quint32>& channels) {
  pa_cvolume volumes;
  pa_cvolume_init(&volumes);
  volumes.channels = uint8_t(channels.size());
  std::copy(channels.begin(), channels.end(), volumes.values);
  return volumes;
}

}  // namespace

int PulseOutputVolume::Sink::percent() const {
  const quint32 loudest = channels.empty() ? 0 : *std::max_element(channels.begin(), channels.end());
  return std::clamp(int(std::lround(100.0 * loudest / PA_VOLUME_NORM)), 0, 100);
}

Task<Result<int, PlatformError>> PulseOutputVolume::volume() {
  auto reading = read(defaultSink);
  const Result<Sink, PlatformError> sink = co_await std::move(reading);
  if (!sink) co_return Failed{sink.error()};
  co_return sink->percent();
}

Task<Result<void, PlatformError>> PulseOutputVolume::setVolume(int percent) {
  const int wanted = std::clamp(percent, 0, 100);
  if (const auto silenced = std::exchange(silenced_, std::nullopt)) {
    if (silenced->percent() == wanted) {
      auto restoring = write(*silenced);
      auto restored = co_await std::move(restoring);
      if (restored) co_return restored;  // else the sink has gone: the default one is meant
    }
  }
  auto reading = read(defaultSink);
  Result<Sink, PlatformError> sink = co_await std::move(reading);
  if (!sink) co_return Failed{sink.error()};
  if (wanted == 0) silenced_ = *sink;
  pa_cvolume volumes = volumesOf(sink->channels);
  pa_cvolume_scale(&volumes, pa_volume_t(std::lround(wanted * double(PA_VOLUME_NORM) / 100)));
  sink->channels.assign(volumes.values, volumes.values + volumes.channels);
  auto writing = write(*sink);
  auto written = co_await std::move(writing);
  if (!written) silenced_.reset();
  co_return written;
}

Task<Result<PulseOutputVolume::Sink, PlatformError>> PulseOutputVolume::read(QString name) {
  struct Answer {
    std::optional<Sink> sink;
    int error = PA_ERR_CONNECTIONTERMINATED;
  };
  Completion<Answer> asked;
  Executor* const executor = &connection_.executor();
  connection_.run([asked, executor, name = name.toUtf8()](pa_context* context) {
    auto reply = std::make_unique<PulseReply<Answer>>();
    reply->done = [asked, executor](const Answer& answer) {
      executor->post([asked, answer]() mutable { asked.resolve(answer); });
    };
    const auto told = [](pa_context* c, const pa_sink_info* info, int end, void* data) {
      Answer& answer = static_cast<PulseReply<Answer>*>(data)->value;
      if (end < 0) answer.error = pa_context_errno(c);
      if (end != 0) return;
      const auto& volumes = info->volume;
      answer.sink = Sink{QString::fromUtf8(info->name), {volumes.values, volumes.values + volumes.channels}};
    };
    pa_operation* const operation =
        context ? pa_context_get_sink_info_by_name(context, name.constData(), told, reply.get()) : nullptr;
    PulseReply<Answer>::follow(operation, std::move(reply));
  });
  auto waiting = asked.wait();
  auto limited = withTimeout(stepLimit, std::move(waiting));
  const std::optional<Answer> answer = co_await std::move(limited);
  if (!answer) co_return Failed{outputError(PA_ERR_TIMEOUT)};
  if (!answer->sink) co_return Failed{outputError(answer->error)};
  co_return *answer->sink;
}

Task<Result<void, PlatformError>> PulseOutputVolume::write(Sink sink) {
  auto requesting = connection_.request(
      [name = sink.name.toUtf8(), volumes = volumesOf(sink.channels)](
          pa_context* context, PulseConnection::SuccessCallback done, void* data) {
        return pa_context_set_sink_volume_by_name(context, name.constData(), &volumes, done, data);
      },
      stepLimit);
  const int error = co_await std::move(requesting);
  if (error != PA_OK) co_return Failed{outputError(error)};
  co_return Result<void, PlatformError>{};
}

}  // namespace quillmere
