#pragma once
#include <functional>
#include <optional>
#include <vector>

#include "base/Published.h"
#include "base/async/TaskScope.h"
#include "base/log/Logger.h"
#include "ports/AudioDevices.h"
#include "ports/ErrorReporting.h"
#include "recording/AudioDevice.h"
#include "recording/CoreAudioDeviceHelper.h"
#include "recording/DeviceScanReason.h"

namespace quillmere {

// Which microphones there are, which one was chosen and which one is active. A recording takes the system's default
// input, so a chosen microphone is made the default before it starts. Main thread. No failure of the sound server stops
// a recording; while the server is away the choice is kept.
class AudioDeviceManager {
 public:
  AudioDeviceManager(AudioDevices& devices, Executor& executor, ErrorReporting* reporting, const Logging& logging);
  ~AudioDeviceManager();

  Published<std::vector<AudioDevice>>& availableDevices() { return availableDevices_; }
  Published<std::optional<AudioDevice>>& selectedDevice() { return selectedDevice_; }  // none: the system default
  Published<std::optional<QString>>& systemDefaultDeviceUID() { return systemDefaultDeviceUID_; }
  Published<std::optional<float>>& inputVolumeScalar() { return inputVolumeScalar_; }  // of the active device, 0 to 1
  Published<QString>& activeInputDeviceName() { return activeInputDeviceName_; }
  Published<std::optional<QString>>& activeInputDeviceIdentifier() { return activeInputDeviceIdentifier_; }

  // Called with a chosen microphone that has gone.
  void setOnSelectedDeviceInvalidated(std::function<void(const AudioDevice&)> callback);

  // Completes when the sound server's first list is there (false: no server). A scan before that finds nothing.
  Task<bool> waitUntilReady();
  void scanDevices(DeviceScanReason reason);
  // The choice, its fields and the log line are done when the task first suspends; what is awaited is the switch.
  Task<void> selectDevice(std::optional<AudioDevice> device);
  // Makes the chosen device the system's default input. False: the recording goes on with whatever the default is.
  Task<bool> applySelectedDevice();
  void refreshActiveDevice();
  // Of the system's default input.
  Task<void> restoreInputVolume(float value);

  const CoreAudioDeviceHelper& helper() const { return helper_; }

 private:
  void changed(AudioDevices::Change change);
  void tellInvalidated(const AudioDevice& lost);

  AudioDevices& devices_;
  CoreAudioDeviceHelper helper_;
  Executor& executor_;
  ErrorReporting* reporting_;
  Logger log_;
  Published<std::vector<AudioDevice>> availableDevices_;
  Published<std::optional<AudioDevice>> selectedDevice_;
  Published<std::optional<QString>> systemDefaultDeviceUID_;
  Published<std::optional<float>> inputVolumeScalar_;
  Published<QString> activeInputDeviceName_;
  Published<std::optional<QString>> activeInputDeviceIdentifier_;
  std::function<void(const AudioDevice&)> onSelectedDeviceInvalidated_;
  Subscription listener_;
  TaskScope scope_;
};

}  // namespace quillmere
