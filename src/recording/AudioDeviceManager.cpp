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

AudioDeviceManager::AudioDeviceManager(AudioDevices& devices, AudioSettingsManager& settings, Executor& executor,
                                       ErrorReporting* reporting, const Logging& logging)
    : devices_(devices),
      settings_(settings),
      helper_(devices),
      executor_(executor),
      reporting_(reporting),
      log_(logging.logger(QStringLiteral("AudioDeviceManager"))),
      activeInputDeviceName_(defaultName()),
      scope_(executor) {
  listener_ = devices_.observe([this](AudioDevices::Change change) { changed(change); });
  log_.info("Registered CoreAudio listener for %s changes", "device list");
  log_.info("Registered CoreAudio listener for %s changes", "default input");
  choices_ = settings_.observeChanges([this](const QString& key) {
    if (key == QLatin1String("selectedMicrophoneId")) followChoice();
  });
  followChoice();
}

AudioDeviceManager::~AudioDeviceManager() = default;

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

bool AudioDeviceManager::isThere(const std::optional<AudioDevice>& device) const {
  const auto& available = availableDevices_.get();
  return device && std::any_of(available.begin(), available.end(),
                               [&](const AudioDevice& one) { return one.uid == device->uid; });
}

std::optional<AudioDevice> AudioDeviceManager::choice() const {
  const QString id = settings_.selectedMicrophoneId();
  if (id.isEmpty()) return std::nullopt;
  for (const AudioDevice& device : availableDevices_.get())
    if (device.uid == id) return device;
  const auto& known = selectedDevice_.get();
  return known && known->uid == id ? known : AudioDevice{id, id, id};
}

void AudioDeviceManager::followChoice() {
  const std::optional<AudioDevice> chosen = choice();
  if (chosen == selectedDevice_.get()) return;
  selectedDevice_.set(chosen);
  devices_.preferInput(chosen ? std::optional(chosen->uid) : std::nullopt);
  refreshActiveDevice();
  if (chosen)
    log_.info("Selected input device: %s", chosen->name);
  else
    log_.info("Selected system default input device");
}

std::optional<AudioDevice> AudioDeviceManager::selectedDeviceInUse() const {
  const auto& selected = selectedDevice_.get();
  return selected && devices_.captureInputUid() == selected->uid ? selected : std::nullopt;
}

void AudioDeviceManager::scanDevices(DeviceScanReason reason) {
  const TimePoint start = executor_.now();
  log_.info("🔍 Scanning audio devices (reason=%{public}s)", rawValue(reason));
  const bool wasThere = isThere(selectedDevice_.get());
  availableDevices_.set(helper_.listInputDevices());
  systemDefaultDeviceUID_.set(helper_.defaultInputDeviceUID());
  selectedDevice_.set(choice());  // which may have got its name

  if (const auto selected = selectedDevice_.get(); wasThere && devices_.isConnected() && !isThere(selected)) {
    log_.warning("Selected microphone %{public}s disappeared - reverting to system default", selected->name);
    if (reporting_ && reporting_->isEnabled())
      reporting_->addBreadcrumb({QStringLiteral("Selected audio device invalidated"),
                                 QStringLiteral("audio.devices"),
                                 ReportLevel::warning,
                                 {{QStringLiteral("activeDeviceName"), activeInputDeviceName_.get()},
                                  {QStringLiteral("selectedDeviceName"), selected->name},
                                  {QStringLiteral("selectedDeviceUID"), selected->uid}}});
  } else if (selected && !wasThere && isThere(selected)) {
    if (reason == DeviceScanReason::initialBootstrap)
      log_.info("Restoring saved microphone selection on launch: %{public}s", selected->name);
    else
      log_.info("Selected microphone %{public}s is back", selected->name);
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
  const auto active = helper_.description(devices_.captureInputUid());
  if (!active) {
    activeInputDeviceIdentifier_.set(std::nullopt);
    activeInputDeviceName_.set(defaultName());
    return;
  }
  activeInputDeviceIdentifier_.set(active->uid);
  activeInputDeviceName_.set(active->name.isEmpty() ? defaultName() : active->name);
}

}  // namespace quillmere
