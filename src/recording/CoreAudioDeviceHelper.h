#pragma once
#include <optional>
#include <vector>

#include "ports/AudioDevices.h"
#include "recording/AudioDevice.h"

namespace quillmere {

// Questions about the sound server's inputs, answered from its last event: nothing is kept, nothing waits, except for
// the two that change something. Main thread.
class CoreAudioDeviceHelper {
 public:
  explicit CoreAudioDeviceHelper(AudioDevices& devices) : devices_(devices) {}

  // Microphones in the server's order: no outputs that are listened to, nothing without a channel, no virtual devices
  // of the system itself.
  std::vector<AudioDevice> listInputDevices() const;
  std::optional<quint32> deviceID(const QString& forUID) const;
  std::optional<quint32> defaultInputDeviceID() const;
  std::optional<QString> defaultInputDeviceUID() const;
  std::optional<QString> deviceName(quint32 id) const;
  std::optional<QString> deviceUID(quint32 id) const;
  // 0 to 1; nothing for a device without a volume of its own.
  std::optional<float> inputVolume(quint32 id) const;
  // Everything that is known of it: rate, channels, transport.
  std::optional<AudioInputDescription> description(const std::optional<QString>& uid) const;
  // Of the device; "unknown" for one that can't be looked up.
  QString transportType(const std::optional<QString>& uid) const;
  // Text of a four-character transport code; "unknown(0x75736220)" for one that isn't in the table.
  static QString transportTypeName(quint32 code);

  // False when the device is gone or refuses.
  Task<bool> setInputVolumeScalar(quint32 id, float scalar) const;
  Task<bool> setDefaultInputDevice(QString uid) const;

 private:
  std::optional<AudioInputDescription> find(quint32 id) const;

  AudioDevices& devices_;
};

}  // namespace quillmere
