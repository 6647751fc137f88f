#include "recording/CoreAudioDeviceHelper.h"

#include <algorithm>

namespace quillmere {
namespace {

constexpr quint32 fourCharacters(const char (&code)[5]) {
  return quint32(quint8(code[0])) << 24 | quint32(quint8(code[1])) << 16 | quint32(quint8(code[2])) << 8 |
         quint32(quint8(code[3]));
}

struct TransportName {
  quint32 code;
  const char* text;
};
constexpr TransportName transportNames[] = {
    {fourCharacters("bltn"), "built_in"},  {fourCharacters("airp"), "airplay"},
    {fourCharacters("blue"), "bluetooth"}, {fourCharacters("dprt"), "display_port"},
    {fourCharacters("grup"), "aggregate"}, {fourCharacters("hdmi"), "hdmi"},
    {fourCharacters("pci "), "pci"},       {fourCharacters("usb "), "usb"},
    {fourCharacters("virt"), "virtual"},
};

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

std::optional<AudioInputDescription> CoreAudioDeviceHelper::find(quint32 id) const {
  for (const AudioInputDescription& input : devices_.inputs())
    if (input.numericId == id) return input;
  return std::nullopt;
}

std::optional<AudioInputDescription> CoreAudioDeviceHelper::description(const std::optional<QString>& uid) const {
  if (!uid) return std::nullopt;
  for (const AudioInputDescription& input : devices_.inputs())
    if (input.uid == *uid) return input;
  return std::nullopt;
}

std::optional<quint32> CoreAudioDeviceHelper::deviceID(const QString& forUID) const {
  if (const auto device = description(forUID)) return device->numericId;
  return std::nullopt;
}

std::optional<QString> CoreAudioDeviceHelper::defaultInputDeviceUID() const {
  return devices_.defaultInputUid();
}

std::optional<quint32> CoreAudioDeviceHelper::defaultInputDeviceID() const {
  if (const auto device = description(devices_.defaultInputUid())) return device->numericId;
  return std::nullopt;
}

std::optional<QString> CoreAudioDeviceHelper::deviceName(quint32 id) const {
  const auto device = find(id);
  if (!device || device->name.isEmpty()) return std::nullopt;
  return device->name;
}

std::optional<QString> CoreAudioDeviceHelper::deviceUID(quint32 id) const {
  if (const auto device = find(id)) return device->uid;
  return std::nullopt;
}

std::optional<float> CoreAudioDeviceHelper::inputVolume(quint32 id) const {
  const auto device = find(id);
  if (!device || !device->volume) return std::nullopt;
  return std::clamp(*device->volume, 0.0F, 1.0F);
}

QString CoreAudioDeviceHelper::transportType(const std::optional<QString>& uid) const {
  const auto device = description(uid);
  return device && !device->transport.isEmpty() ? device->transport : QStringLiteral("unknown");
}

QString CoreAudioDeviceHelper::transportTypeName(quint32 code) {
  for (const TransportName& name : transportNames)
    if (name.code == code) return QString::fromLatin1(name.text);
  return QStringLiteral("unknown(0x%1)").arg(QString::number(code, 16).toUpper());
}

Task<bool> CoreAudioDeviceHelper::setInputVolumeScalar(quint32 id, float scalar) const {
  const auto uid = deviceUID(id);
  if (!uid) co_return false;
  auto setting = devices_.setInputVolume(*uid, scalar);
  co_return co_await std::move(setting);
}

Task<bool> CoreAudioDeviceHelper::setDefaultInputDevice(QString uid) const {
  return devices_.setDefaultInput(std::move(uid));
}

}  // namespace quillmere
