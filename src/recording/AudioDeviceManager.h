#pragma once
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
#include "storage/AudioSettingsManager.h"

namespace quillmere {

// Which microphones there are, which one was chosen and which one is active. The choice is a setting and stays while
// the device is away: the system's default is used meanwhile, and the chosen one again when it arrives. Recordings are
// opened on the active device; the default of other programs is never changed. Main thread.
class AudioDeviceManager {
 public:
  AudioDeviceManager(AudioDevices& devices, AudioSettingsManager& settings, Executor& executor,
                     ErrorReporting* reporting, const Logging& logging);
  ~AudioDeviceManager();

  Published<std::vector<AudioDevice>>& availableDevices() { return availableDevices_; }
  // The chosen one, there or not (one that was never seen has its id for a name); none: the system default.
  Published<std::optional<AudioDevice>>& selectedDevice() { return selectedDevice_; }
  Published<std::optional<QString>>& systemDefaultDeviceUID() { return systemDefaultDeviceUID_; }
  Published<QString>& activeInputDeviceName() { return activeInputDeviceName_; }
  Published<std::optional<QString>>& activeInputDeviceIdentifier() { return activeInputDeviceIdentifier_; }

  // Completes when the sound server's first list is there (false: no server). A scan before that finds nothing.
  Task<bool> waitUntilReady();
  void scanDevices(DeviceScanReason reason);
  // The chosen device if a recording takes it now.
  std::optional<AudioDevice> selectedDeviceInUse() const;

  const CoreAudioDeviceHelper& helper() const { return helper_; }

 private:
  void changed(AudioDevices::Change change);
  void followChoice();
  std::optional<AudioDevice> choice() const;
  bool isThere(const std::optional<AudioDevice>& device) const;
  void refreshActiveDevice();

  AudioDevices& devices_;
  AudioSettingsManager& settings_;
  CoreAudioDeviceHelper helper_;
  Executor& executor_;
  ErrorReporting* reporting_;
  Logger log_;
  Published<std::vector<AudioDevice>> availableDevices_;
  Published<std::optional<AudioDevice>> selectedDevice_;
  Published<std::optional<QString>> systemDefaultDeviceUID_;
  Published<QString> activeInputDeviceName_;
  Published<std::optional<QString>> activeInputDeviceIdentifier_;
  Subscription listener_;
  Subscription choices_;
  TaskScope scope_;
};

}  // namespace quillmere
