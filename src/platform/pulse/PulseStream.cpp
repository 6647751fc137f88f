#include "platform/pulse/PulseStream.h"

#include <pulse/context.h>
#include <pulse/error.h>
#include <pulse/mainloop-api.h>
#include <pulse/operation.h>
#include <pulse/proplist.h>
#include <pulse/rtclock.h>
#include <pulse/stream.h>
#include <pulse/timeval.h>

#include <array>
#include <utility>

#include "platform/pulse/PulseReply.h"

namespace quillmere {
namespace {

constexpr uint32_t bytesPerSecond = 2 * PulseStream::sampleRate;
constexpr uint32_t fragmentBytes = bytesPerSecond / 50;
constexpr pa_usec_t drainLimit = 45 * PA_USEC_PER_MSEC;

}  // namespace

void PulseStream::open(pa_context* context, const QString& source, std::function<void(int)> ready) {
  if (!context) {
    ready(PA_ERR_CONNECTIONREFUSED);
    return;
  }
  const pa_sample_spec format{PA_SAMPLE_S16LE, sampleRate, 1};
  pa_proplist* const properties = pa_proplist_new();
  pa_proplist_sets(properties, PA_PROP_MEDIA_NAME, "Dictation");
  stream_ = pa_stream_new_with_proplist(context, "Dictation", &format, nullptr, properties);
  pa_proplist_free(properties);
  if (!stream_) {
    ready(pa_context_errno(context));
    return;
  }
  context_ = context;
  self_ = shared_from_this();
  ready_ = std::move(ready);
  pa_stream_set_state_callback(
      stream_, [](pa_stream*, void* self) { static_cast<PulseStream*>(self)->stateChanged(); }, this);
  pa_stream_set_read_callback(
      stream_, [](pa_stream*, size_t, void* self) { static_cast<PulseStream*>(self)->readable(); }, this);
  // Without a fragment size some servers hand over two seconds at a time.
  constexpr auto automatic = static_cast<uint32_t>(-1);
  const pa_buffer_attr buffer{.maxlength = automatic,
                              .tlength = automatic,
                              .prebuf = automatic,
                              .minreq = automatic,
                              .fragsize = fragmentBytes};
  const auto flags =
      static_cast<pa_stream_flags_t>(PA_STREAM_START_CORKED | PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_MOVE);
  if (pa_stream_connect_record(stream_, source.toUtf8().constData(), &buffer, flags) < 0) {
    const int error = pa_context_errno(context);
    const auto told = std::move(ready_);
    const auto self = shared_from_this();
    close();
    told(error);
  }
}

void PulseStream::start(std::function<void(std::span<const std::int16_t>)> samples, std::function<void(int)> started,
                        std::function<void(End)> ended) {
  if (!stream_) {
    started(PA_ERR_NOENTITY);
    return;
  }
  samples_ = std::move(samples);
  ended_ = std::move(ended);
  started_ = std::move(started);
  auto reply = std::make_unique<PulseReply<int>>();
  reply->value = PA_ERR_CONNECTIONTERMINATED;
  reply->done = [self = shared_from_this()](int error) {
    if (const auto told = std::exchange(self->started_, nullptr)) told(error);
  };
  const auto answered = [](pa_stream* stream, int isDone, void* data) {
    static_cast<PulseReply<int>*>(data)->value = isDone ? 0 : pa_context_errno(pa_stream_get_context(stream));
  };
  pa_operation* const operation = pa_stream_cork(stream_, 0, answered, reply.get());
  if (!operation) reply->value = pa_context_errno(context_);
  PulseReply<int>::follow(operation, std::move(reply));
}

void PulseStream::drain(std::function<void()> done) {
  if (!stream_) {
    done();
    return;
  }
  drainDone_ = std::move(done);
  drainLimit_ = pa_context_rttime_new(
      context_, pa_rtclock_now() + drainLimit,
      [](pa_mainloop_api*, pa_time_event*, const struct timeval*, void* self) {
        static_cast<PulseStream*>(self)->drained();
      },
      this);
  // How much was captured up to now and has not come yet, is known to the server.
  auto reply = std::make_unique<PulseReply<bool>>();
  reply->done = [weak = weak_from_this()](bool isKnown) {
    if (const auto self = weak.lock()) self->timingArrived(isKnown);
  };
  pa_operation* const operation = pa_stream_update_timing_info(
      stream_, [](pa_stream*, int isDone, void* data) { static_cast<PulseReply<bool>*>(data)->value = isDone != 0; },
      reply.get());
  PulseReply<bool>::follow(operation, std::move(reply));
}

void PulseStream::timingArrived(bool isKnown) {
  if (!stream_ || !drainDone_ || !isKnown) return;
  const pa_timing_info* const timing = pa_stream_get_timing_info(stream_);
  if (!timing || timing->write_index_corrupt || timing->read_index_corrupt) return;
  isTimingKnown_ = true;
  const auto heldBySource = std::int64_t(timing->source_usec * bytesPerSecond / PA_USEC_PER_SEC);
  awaitedBytes_ = timing->write_index - timing->read_index + heldBySource;
}

void PulseStream::close() {
  if (stream_ && pa_stream_get_state(stream_) == PA_STREAM_CREATING) {
    // It can't be taken back before the server has made it.
    isClosing_ = true;
    if (const auto told = std::exchange(ready_, nullptr)) told(PA_ERR_KILLED);
    return;
  }
  pa_stream* const stream = std::exchange(stream_, nullptr);
  if (!stream) return;
  const auto self = std::exchange(self_, nullptr);
  if (drainLimit_) api_->time_free(std::exchange(drainLimit_, nullptr));
  pa_stream_set_state_callback(stream, nullptr, nullptr);
  pa_stream_set_read_callback(stream, nullptr, nullptr);
  pa_stream_disconnect(stream);
  pa_stream_unref(stream);
  samples_ = nullptr;
  ended_ = nullptr;
  if (const auto told = std::exchange(ready_, nullptr)) told(PA_ERR_KILLED);
}

void PulseStream::stateChanged() {
  const pa_stream_state_t state = pa_stream_get_state(stream_);
  const auto self = shared_from_this();
  if (state == PA_STREAM_READY) {
    if (isClosing_) close();
    if (const auto told = std::exchange(ready_, nullptr)) told(0);
    return;
  }
  if (PA_STREAM_IS_GOOD(state)) return;
  const int error = pa_context_errno(context_);
  const End end = PA_CONTEXT_IS_GOOD(pa_context_get_state(context_)) ? End::sourceGone : End::serverGone;
  const auto ready = std::exchange(ready_, nullptr);
  const auto ended = std::exchange(ended_, nullptr);
  const auto drainDone = std::exchange(drainDone_, nullptr);
  close();
  if (ready) ready(error);
  if (drainDone)
    drainDone();
  else if (ended)
    ended(end);
}

void PulseStream::readable() {
  const auto self = shared_from_this();
  pa_stream* const stream = pa_stream_ref(stream_);
  std::int64_t arrived = 0;
  const void* data = nullptr;
  size_t bytes = 0;
  while (stream_ && pa_stream_peek(stream, &data, &bytes) == 0 && bytes > 0) {
    arrived += std::int64_t(bytes);
    if (samples_ && data) {
      samples_({static_cast<const std::int16_t*>(data), bytes / 2});
    } else if (samples_) {
      // A hole: silence keeps the times right.
      constexpr std::array<std::int16_t, sampleRate / 50> silence{};
      for (size_t left = bytes / 2; left > 0;) {
        const size_t piece = std::min(left, silence.size());
        samples_({silence.data(), piece});
        left -= piece;
      }
    }
    pa_stream_drop(stream);
  }
  pa_stream_unref(stream);
  if (!drainDone_) return;
  awaitedBytes_ -= arrived;
  if (isTimingKnown_ && awaitedBytes_ <= 0) drained();
}

void PulseStream::drained() {
  const auto self = shared_from_this();
  const auto done = std::exchange(drainDone_, nullptr);
  close();
  if (done) done();
}

}  // namespace quillmere
