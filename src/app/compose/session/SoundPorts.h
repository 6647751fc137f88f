#pragma once
#include <memory>

#include "base/async/WorkerPool.h"
#include "platform/session/BusConnection.h"
#include "ports/AccessibilitySwitch.h"
#include "ports/AudioDevices.h"
#include "ports/AudioRecorder.h"
#include "ports/DesktopNotifications.h"
#include "ports/FileEvents.h"
#include "ports/MediaPlayback.h"
#include "ports/MicrophoneAuthorization.h"
#include "ports/OutputVolume.h"
#include "ports/PowerActivity.h"
#include "ports/ProcessLocks.h"

namespace quillmere {

class PulseConnection;
struct Services;

// What speaks to the sound server and to the desktop session's buses; they go in the reverse order. Main thread.
struct SoundPorts {
  ~SoundPorts();

  std::unique_ptr<WorkerPool> busWorkers;
  std::unique_ptr<BusConnection> sessionBus;
  std::unique_ptr<BusConnection> systemBus;
  std::unique_ptr<PulseConnection> pulse;
  std::unique_ptr<AudioDevices> devices;
  std::unique_ptr<AudioRecorderFactory> recorders;
  std::unique_ptr<OutputVolume> outputVolume;
  std::unique_ptr<MicrophoneAuthorization> microphoneAuthorization;
  std::unique_ptr<MediaPlayback> mediaPlayback;
  std::unique_ptr<PowerActivity> powerActivity;
  std::unique_ptr<DesktopNotifications> notifications;
  std::unique_ptr<AccessibilitySwitch> accessibilitySwitch;
  std::unique_ptr<FileEvents> fileEvents;
  std::unique_ptr<ProcessLocks> processLocks;
};

// `base` outlives the result. Returns at once; the connections come up by themselves.
std::unique_ptr<SoundPorts> makeSoundPorts(Services& base);

}  // namespace quillmere
