#include "recording/CoreAudioDeviceHelper.h"

namespace quillmere {
namespace {

bool isSystemDevice(const QString& name) {
  const auto has = [&](const char* part) { return name.contains(QLatin1String(part), Qt::CaseSensitive); };
  return has("CADefaultDeviceAggregate") || (has("CA") && has("Aggregate")) || has("System") ||
         (has("Default") && has("Aggregate"));
}

}  // namespace

std::vector<AudioDevice> CoreAudioDeviceHelper::listInputDevices() const {
  std::vector<AudioDevice> devices;
  for (const AudioInputDescription& input : devices_.inputs()) {
    if (input.isMonitor || input.channelCount <= 0 || input.uid.isEmpty() || isSystemDevice(input.name)) continue;
    devices.push_back({input.uid, input.name, input.uid});
  }
  return devices;
}

std::optional<AudioInputDescription> CoreAudioDeviceHelper::description(const std::optional<QString>& uid) const {
  if (!uid) return std::nullopt;
  for (const AudioInputDescription& input : devices_.inputs())
    if (input.uid == *uid) return input;
  return std::nullopt;
}

QString CoreAudioDeviceHelper::transportType(const std::optional<QString>& uid) const {
  const auto device = description(uid);
  return device && !device->transport.isEmpty() ? device->transport : QStringLiteral("unknown");
}

}  // namespace quillmere
