#include "platform/pulse/PulseAudioDevices.h"

#include <pulse/context.h>
#include <pulse/error.h>
#include <pulse/introspect.h>
#include <pulse/proplist.h>

#include <algorithm>
#include <cmath>

#include "base/async/Combinators.h"
#include "platform/pulse/PulseReply.h"

namespace quillmere {
namespace {

constexpr Duration readyLimit = std::chrono::seconds(2);
constexpr Duration requestLimit = std::chrono::milliseconds(600);
constexpr Duration askLimit = std::chrono::milliseconds(300);

QString property(const pa_source_info& source, const char* name) {
  return QString::fromUtf8(pa_proplist_gets(source.proplist, name));
}

QString transportOf(const pa_source_info& source) {
  if (source.active_port && source.active_port->type == PA_DEVICE_PORT_TYPE_HDMI) return QStringLiteral("hdmi");
  const QString bus = property(source, PA_PROP_DEVICE_BUS);
  if (bus == u"usb") return QStringLiteral("usb");
  if (bus == u"bluetooth") return QStringLiteral("bluetooth");
  if (bus == u"pci")
    return property(source, PA_PROP_DEVICE_FORM_FACTOR) == u"internal" ? QStringLiteral("built_in")
                                                                       : QStringLiteral("pci");
  if (bus.isEmpty() && !(source.flags & PA_SOURCE_HARDWARE)) return QStringLiteral("virtual");
  return QStringLiteral("unknown");
}

AudioInputDescription describe(const pa_source_info& source) {
  AudioInputDescription input;
  input.numericId = source.index;
  input.uid = QString::fromUtf8(source.name);
  input.name = QString::fromUtf8(source.description ? source.description : source.name);
  input.transport = transportOf(source);
  input.channelCount = source.sample_spec.channels;
  input.sampleRate = source.sample_spec.rate;
  input.bitDepth = int(pa_sample_size(&source.sample_spec) * 8);
  const pa_sample_format_t format = source.sample_spec.format;
  input.isFloat = format == PA_SAMPLE_FLOAT32LE || format == PA_SAMPLE_FLOAT32BE;
  if (format == PA_SAMPLE_S24_32LE || format == PA_SAMPLE_S24_32BE) input.bitDepth = 24;
  input.isMonitor = source.monitor_of_sink != PA_INVALID_INDEX;
  if (source.volume.channels > 0) input.volume = float(pa_cvolume_max(&source.volume)) / float(PA_VOLUME_NORM);
  input.isMuted = source.mute != 0;
  return input;
}

// What makes two lists different for somebody who chooses a device.
bool isSameList(std::vector<AudioInputDescription> first, std::vector<AudioInputDescription> second) {
  for (auto* list : {&first, &second})
    for (AudioInputDescription& input : *list) {
      input.volume.reset();
      input.isMuted = false;
    }
  return first == second;
}

}  // namespace

PulseAudioDevices::PulseAudioDevices(PulseConnection& connection) : connection_(connection) {
  stateSubscription_ = connection_.observeState([this](PulseConnection::State state) { stateChanged(state); });
  serverSubscription_ = connection_.observeServer([this] { refresh(); });
  if (connection_.state() == PulseConnection::State::ready) refresh();
}

PulseAudioDevices::~PulseAudioDevices() = default;

bool PulseAudioDevices::isConnected() const {
  return hasSnapshot_;
}

std::optional<QString> PulseAudioDevices::defaultInputUid() const {
  const auto isDefault = [this](const AudioInputDescription& input) { return input.uid == snapshot_.defaultSource; };
  const auto found = std::find_if(snapshot_.inputs.begin(), snapshot_.inputs.end(), isDefault);
  if (found == snapshot_.inputs.end()) return std::nullopt;
  // A server without a microphone makes an output's monitor the default; a user who has one and chose so means it.
  const auto isMicrophone = [](const AudioInputDescription& input) { return !input.isMonitor; };
  if (found->isMonitor && std::none_of(snapshot_.inputs.begin(), snapshot_.inputs.end(), isMicrophone))
    return std::nullopt;
  return snapshot_.defaultSource;
}

Subscription PulseAudioDevices::observe(std::function<void(Change)> observer) {
  return observers_.add(std::move(observer));
}

void PulseAudioDevices::preferInput(std::optional<QString> uid) {
  if (std::exchange(preferred_, uid) != uid) captureObservers_.tell();
}

std::optional<QString> PulseAudioDevices::captureInputUid() const {
  const auto isPreferred = [this](const AudioInputDescription& input) { return input.uid == preferred_; };
  const bool isThere = std::any_of(snapshot_.inputs.begin(), snapshot_.inputs.end(), isPreferred);
  return isThere ? preferred_ : defaultInputUid();
}

Subscription PulseAudioDevices::observeCaptureInput(std::function<void()> observer) {
  return captureObservers_.add(std::move(observer));
}

void PulseAudioDevices::stateChanged(PulseConnection::State state) {
  if (state == PulseConnection::State::ready) {
    refresh();
    return;
  }
  hasSnapshot_ = false;
  isStale_ = false;
  snapshot_ = {};
  if (state == PulseConnection::State::unavailable)
    for (auto& reader : std::exchange(readers_, {})) reader.resolve();
}

void PulseAudioDevices::refresh() {
  if (isReading_) {
    isStale_ = true;
    return;
  }
  isReading_ = true;
  isStale_ = false;
  Executor* const executor = &connection_.executor();
  const auto arrive = [this, executor, alive = std::weak_ptr<int>(alive_)](const Reading& reading) {
    executor->post([this, alive, snapshot = reading.snapshot, isComplete = !reading.hasFailed] {
      if (!alive.expired()) arrived(snapshot, isComplete);
    });
  };
  connection_.run([arrive](pa_context* context) {
    auto reading = std::make_shared<Reading>();
    if (!context) {
      reading->hasFailed = true;
      arrive(*reading);
      return;
    }
    struct List {
      std::vector<AudioInputDescription> inputs;
      bool isComplete = false;
    };
    auto list = std::make_unique<PulseReply<List>>();
    list->done = [reading, arrive](List value) {
      reading->snapshot.inputs = std::move(value.inputs);
      reading->hasFailed |= !value.isComplete;
      if (++reading->answers == 2) arrive(*reading);
    };
    const auto source = [](pa_context*, const pa_source_info* info, int end, void* data) {
      auto* const reply = static_cast<PulseReply<List>*>(data);
      if (end == 0)
        reply->value.inputs.push_back(describe(*info));
      else
        reply->value.isComplete = end > 0;
    };
    pa_operation* const listing = pa_context_get_source_info_list(context, source, list.get());
    PulseReply<List>::follow(listing, std::move(list));

    auto defaults = std::make_unique<PulseReply<std::optional<QString>>>();
    defaults->done = [reading, arrive](const std::optional<QString>& value) {
      reading->snapshot.defaultSource = value.value_or(QString());
      reading->hasFailed |= !value;
      if (++reading->answers == 2) arrive(*reading);
    };
    const auto server = [](pa_context*, const pa_server_info* info, void* data) {
      if (info)
        static_cast<PulseReply<std::optional<QString>>*>(data)->value = QString::fromUtf8(info->default_source_name);
    };
    pa_operation* const asking = pa_context_get_server_info(context, server, defaults.get());
    PulseReply<std::optional<QString>>::follow(asking, std::move(defaults));
  });
}

void PulseAudioDevices::arrived(Snapshot snapshot, bool isComplete) {
  isReading_ = false;
  if (isStale_) {
    refresh();
    return;
  }
  if (!isComplete || connection_.state() != PulseConnection::State::ready) {
    for (auto& reader : std::exchange(readers_, {})) reader.resolve();
    return;
  }
  snapshot_ = std::move(snapshot);
  hasSnapshot_ = true;
  for (auto& reader : std::exchange(readers_, {})) reader.resolve();
  const bool hasNewList = !isSameList(announced_.inputs, snapshot_.inputs);
  const bool hasNewDefault = announced_.defaultSource != snapshot_.defaultSource;
  announced_ = snapshot_;
  const std::weak_ptr<int> alive = alive_;
  captureObservers_.tell();
  if (hasNewList && !alive.expired()) observers_.tell(Change::deviceList);
  if (hasNewDefault && !alive.expired()) observers_.tell(Change::defaultInput);
}

// Not a coroutine: one would take its place in the queue only when it is started, and miss an answer that comes before.
Task<void> PulseAudioDevices::nextSnapshot() {
  readers_.emplace_back();
  return readers_.back().wait();
}

Task<bool> PulseAudioDevices::waitUntilReady() {
  if (hasSnapshot_) co_return true;
  if (!co_await connection_.waitUntilReady(readyLimit)) co_return false;
  if (hasSnapshot_) co_return true;
  if (!isReading_) refresh();
  auto reading = nextSnapshot();
  co_await withTimeout(readyLimit, std::move(reading));
  co_return hasSnapshot_;
}

Task<bool> PulseAudioDevices::setInputVolume(QString uid, float scalar) {
  // The balance between the channels stays, so the present volumes are needed first.
  Completion<std::optional<pa_cvolume>> asked;
  Executor* const executor = &connection_.executor();
  connection_.run([asked, executor, name = uid.toUtf8()](pa_context* context) {
    auto reply = std::make_unique<PulseReply<std::optional<pa_cvolume>>>();
    reply->done = [asked, executor](std::optional<pa_cvolume> volume) {
      executor->post([asked, volume]() mutable { asked.resolve(volume); });
    };
    const auto source = [](pa_context*, const pa_source_info* info, int end, void* data) {
      if (end == 0) static_cast<PulseReply<std::optional<pa_cvolume>>*>(data)->value = info->volume;
    };
    pa_operation* const operation =
        context ? pa_context_get_source_info_by_name(context, name.constData(), source, reply.get()) : nullptr;
    PulseReply<std::optional<pa_cvolume>>::follow(operation, std::move(reply));
  });
  const std::optional<std::optional<pa_cvolume>> answer = co_await withTimeout(askLimit, asked.wait());
  if (!answer || !*answer || (*answer)->channels == 0) co_return false;
  pa_cvolume volume = **answer;
  const double target = std::clamp(double(scalar) * PA_VOLUME_NORM, 0.0, double(PA_VOLUME_MAX));
  pa_cvolume_scale(&volume, pa_volume_t(std::lround(target)));
  auto requesting = connection_.request(
      [name = uid.toUtf8(), volume](pa_context* context, PulseConnection::SuccessCallback done, void* data) {
        return pa_context_set_source_volume_by_name(context, name.constData(), &volume, done, data);
      },
      requestLimit);
  co_return co_await std::move(requesting) == PA_OK;
}

}  // namespace quillmere
