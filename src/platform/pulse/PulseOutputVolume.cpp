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

constexpr Duration limit = std::chrono::milliseconds(900);
const QString defaultSink = QStringLiteral("@DEFAULT_SINK@");

PlatformError outputError(int code) {
  return PlatformError{QStringLiteral("audio"), code, QString::fromUtf8(pa_strerror(code))};
}

pa_cvolume volumesOf(const OutputLevel& level) {
  pa_cvolume volumes;
  pa_cvolume_init(&volumes);
  volumes.channels = uint8_t(std::min(level.channels.size(), size_t(PA_CHANNELS_MAX)));
  for (size_t i = 0; i < volumes.channels; ++i)
    volumes.values[i] = pa_volume_t(std::clamp(level.channels[i] * PA_VOLUME_NORM, 0.0, double(PA_VOLUME_MAX)) + 0.5);
  return volumes;
}

OutputLevel levelOf(const pa_sink_info& sink) {
  OutputLevel level{QString::fromUtf8(sink.name), QString::fromUtf8(sink.description), {}};
  for (size_t i = 0; i < sink.volume.channels; ++i)
    level.channels.push_back(double(sink.volume.values[i]) / PA_VOLUME_NORM);
  return level;
}

}  // namespace

Task<Result<OutputLevel, PlatformError>> PulseOutputVolume::level(std::optional<QString> uid) {
  struct Answer {
    std::optional<OutputLevel> level;
    int error = PA_ERR_CONNECTIONTERMINATED;
  };
  Completion<Answer> asked;
  Executor* const executor = &connection_.executor();
  connection_.run([asked, executor, name = uid.value_or(defaultSink).toUtf8()](pa_context* context) {
    auto reply = std::make_unique<PulseReply<Answer>>();
    reply->done = [asked, executor](const Answer& answer) {
      executor->post([asked, answer]() mutable { asked.resolve(answer); });
    };
    const auto told = [](pa_context* c, const pa_sink_info* info, int end, void* data) {
      Answer& answer = static_cast<PulseReply<Answer>*>(data)->value;
      if (end < 0) answer.error = pa_context_errno(c);
      if (end == 0) answer.level = levelOf(*info);
    };
    pa_operation* const operation =
        context ? pa_context_get_sink_info_by_name(context, name.constData(), told, reply.get()) : nullptr;
    PulseReply<Answer>::follow(operation, std::move(reply));
  });
  const std::optional<Answer> answer = co_await withTimeout(limit, asked.wait());
  if (!answer) co_return Failed{outputError(PA_ERR_TIMEOUT)};
  if (!answer->level) co_return Failed{outputError(answer->error)};
  co_return *answer->level;
}

Task<Result<void, PlatformError>> PulseOutputVolume::setLevel(OutputLevel level) {
  auto requesting = connection_.request(
      [name = level.uid.toUtf8(), volumes = volumesOf(level)](pa_context* context,
                                                              PulseConnection::SuccessCallback done, void* data) {
        return pa_context_set_sink_volume_by_name(context, name.constData(), &volumes, done, data);
      },
      limit);
  const int error = co_await std::move(requesting);
  if (error != PA_OK) co_return Failed{outputError(error)};
  co_return Result<void, PlatformError>{};
}

}  // namespace quillmere
