#include "recording/AudioDeviceManager.h"

#include <algorithm>

#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

QString defaultName() {
  return localizedText("audio.device.default");
}

qint64 millisecondsBetween(TimePoint from, TimePoint to) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(to - from).count();
}

}  // namespace

AudioDeviceManager::AudioDeviceManager(AudioDevices& devices, Executor& executor, ErrorReporting* reporting,
                                       const Logging& logging)
    : devices_(devices),
      helper_(devices),
      executor_(executor),
      reporting_(reporting),
      log_(logging.logger(QStringLiteral("AudioDeviceManager"))),
      activeInputDeviceName_(defaultName()),
      scope_(executor) {
  listener_ = devices_.observe([this](AudioDevices::Change change) { changed(change); });
  log_.info("Registered CoreAudio listener for %s changes", "device list");
  log_.info("Registered CoreAudio listener for %s changes", "default input");
}

AudioDeviceManager::~AudioDeviceManager() = default;

void AudioDeviceManager::setOnSelectedDeviceInvalidated(std::function<void(const AudioDevice&)> callback) {
  onSelectedDeviceInvalidated_ = std::move(callback);
}

void AudioDeviceManager::changed(AudioDevices::Change change) {
  const DeviceScanReason reason =
      change == AudioDevices::Change::deviceList ? DeviceScanReason::deviceList : DeviceScanReason::defaultInput;
  static constexpr auto scanLater = [](AudioDeviceManager& self, DeviceScanReason why) -> Task<void> {
    self.scanDevices(why);
    co_return;
  };
  scope_.spawn(scanLater(*this, reason));
}

Task<bool> AudioDeviceManager::waitUntilReady() {
  return devices_.waitUntilReady();
}

void AudioDeviceManager::tellInvalidated(const AudioDevice& lost) {
  static constexpr auto tell = [](AudioDeviceManager& self, AudioDevice device) -> Task<void> {
    if (const auto callback = self.onSelectedDeviceInvalidated_) callback(device);
    co_return;
  };
  scope_.spawn(tell(*this, lost));
}

void AudioDeviceManager::scanDevices(DeviceScanReason reason) {
  const TimePoint start = executor_.now();
  log_.info("🔍 Scanning audio devices (reason=%{public}s)", rawValue(reason));
  availableDevices_.set(helper_.listInputDevices());
  systemDefaultDeviceUID_.set(helper_.defaultInputDeviceUID());

  if (const auto selected = selectedDevice_.get(); selected && devices_.isConnected()) {
    const auto& available = availableDevices_.get();
    const bool isThere = std::any_of(available.begin(), available.end(),
                                     [&](const AudioDevice& device) { return device.uid == selected->uid; });
    if (!isThere) {
      log_.warning("Selected microphone %{public}s disappeared - reverting to system default", selected->name);
      selectedDevice_.set(std::nullopt);
      if (reporting_ && reporting_->isEnabled())
        reporting_->addBreadcrumb({QStringLiteral("Selected audio device invalidated"),
                                   QStringLiteral("audio.devices"),
                                   ReportLevel::warning,
                                   {{QStringLiteral("activeDeviceName"), activeInputDeviceName_.get()},
                                    {QStringLiteral("selectedDeviceName"), selected->name},
                                    {QStringLiteral("selectedDeviceUID"), selected->uid}}});
      tellInvalidated(*selected);
    }
  }
  refreshActiveDevice();

  const auto deviceCount = qint64(availableDevices_.get().size());
  if ((reason == DeviceScanReason::deviceList || reason == DeviceScanReason::defaultInput) && reporting_ &&
      reporting_->isEnabled())
    reporting_->addBreadcrumb(
        {QStringLiteral("Audio device change detected"),
         QStringLiteral("audio.devices"),
         ReportLevel::info,
         {{QStringLiteral("reason"), rawValue(reason)},
          {QStringLiteral("deviceCount"), deviceCount},
          {QStringLiteral("defaultDeviceUID"), systemDefaultDeviceUID_.get().value_or(QStringLiteral("unknown"))},
          {QStringLiteral("activeDeviceName"), activeInputDeviceName_.get()}}});
  log_.info("📱 Device scan (%s) finished in %ldms · devices=%ld", rawValue(reason),
            millisecondsBetween(start, executor_.now()), deviceCount);
}

void AudioDeviceManager::refreshActiveDevice() {
  const auto selected = selectedDevice_.get();
  std::optional<quint32> active;
  if (selected) active = helper_.deviceID(selected->uid);
  if (!active) active = helper_.defaultInputDeviceID();
  if (!active) {
    inputVolumeScalar_.set(std::nullopt);
    activeInputDeviceIdentifier_.set(std::nullopt);
    activeInputDeviceName_.set(defaultName());
    return;
  }
  inputVolumeScalar_.set(helper_.inputVolume(*active));
  activeInputDeviceIdentifier_.set(helper_.deviceUID(*active));
  QString name = selected ? selected->name : defaultName();
  if (const auto readable = helper_.deviceName(*active)) name = *readable;
  activeInputDeviceName_.set(name);
}

Task<void> AudioDeviceManager::selectDevice(std::optional<AudioDevice> device) {
  selectedDevice_.set(device);
  refreshActiveDevice();
  if (device)
    log_.info("Selected input device: %s", device->name);
  else
    log_.info("Selected system default input device");
  auto applying = applySelectedDevice();
  co_await std::move(applying);
}

Task<bool> AudioDeviceManager::applySelectedDevice() {
  const auto selected = selectedDevice_.get();
  if (!selected) co_return true;
  if (!helper_.deviceID(selected->uid)) {
    log_.warning(
        "⚠️ Unable to resolve AudioDeviceID for UID: %s - device may have disconnected, falling back to system "
        "default",
        selected->uid);
    if (!devices_.isConnected()) co_return false;  // nobody knows whether it has gone
    selectedDevice_.set(std::nullopt);
    if (const auto callback = onSelectedDeviceInvalidated_) callback(*selected);
    scanDevices(DeviceScanReason::manual);
    co_return false;
  }
  const auto current = helper_.defaultInputDeviceUID();
  if (!current) {
    log_.warning("⚠️ Unable to read current default input device");
    co_return false;
  }
  if (*current == selected->uid) co_return true;
  auto switching = helper_.setDefaultInputDevice(selected->uid);
  const bool isSwitched = co_await std::move(switching);
  if (isSwitched)
    log_.info("🎚️ Switched system default input to: %s", selected->name);
  else
    log_.warning("⚠️ Failed to switch system default input to: %s", selected->name);
  co_return isSwitched;
}

Task<void> AudioDeviceManager::restoreInputVolume(float value) {
  const auto device = helper_.defaultInputDeviceID();
  if (!device) {
    log_.warning("Restore mic volume failed - unable to get system default device ID");
    co_return;
  }
  auto setting = helper_.setInputVolumeScalar(*device, value);
  const bool isSet = co_await std::move(setting);
  if (isSet)
    log_.info("Restored microphone input volume to %{public}s", QString::asprintf("%.0f%%", double(value) * 100));
  else
    log_.warning("Restore mic volume failed - unable to set volume");
}

}  // namespace quillmere
