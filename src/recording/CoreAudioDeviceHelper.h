#pragma once
#include <optional>
#include <vector>

#include "ports/AudioDevices.h"
#include "recording/AudioDevice.h"

namespace quillmere {

// Questions about the sound server's inputs, answered from its last event: nothing is kept, nothing waits. Main thread.
class CoreAudioDeviceHelper {
 public:
  explicit CoreAudioDeviceHelper(AudioDevices& devices) : devices_(devices) {}

  // Microphones in the server's order: no outputs that are listened to, nothing without a channel, no virtual devices
  // of the system itself.
  std::vector<AudioDevice> listInputDevices() const;
  // Nothing while the default is not a device of the list.
  std::optional<QString> defaultInputDeviceUID() const { return devices_.defaultInputUid(); }
  // Everything that is known of it: rate, channels, transport.
  std::optional<AudioInputDescription> description(const std::optional<QString>& uid) const;
  // Of the device; "unknown" for one that can't be looked up.
  QString transportType(const std::optional<QString>& uid) const;

 private:
  AudioDevices& devices_;
};

}  // namespace quillmere
