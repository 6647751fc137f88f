#pragma once
#include <functional>
#include <memory>

#include "base/async/WorkerPool.h"
#include "core/AudioRecordingManager.h"
#include "platform/session/BusConnection.h"
#include "ports/Accessibility.h"
#include "ports/AudioDevices.h"
#include "ports/AudioRecorder.h"
#include "ports/FileEvents.h"
#include "ports/GlobalShortcuts.h"
#include "ports/KeyEventMonitor.h"
#include "ports/KeyInterceptor.h"
#include "ports/KeySynthesizer.h"
#include "ports/MediaPlayback.h"
#include "ports/MicrophoneAuthorization.h"
#include "ports/OutputVolume.h"
#include "ports/Pasteboard.h"
#include "ports/PowerActivity.h"
#include "ports/ProcessLocks.h"
#include "ports/Workspace.h"

namespace quillmere {

class PulseConnection;
struct Services;
class StorageSettingsManager;

struct SessionOptions {
  // Watches the keyboard and takes system-wide shortcuts. Off for a command that ends with its recording.
  bool hasTriggers = false;
  // Takes this application's windows away before a paste.
  std::function<void()> hideWindows;
  // What the recording side asks and shows.
  AudioRecordingHooks hooks;
};

// What a dictation needs of the desktop session, over the services of every program; built in this order and taken down
// in the reverse one. Main thread. Without a display the parts that need one do nothing.
struct SessionServices {
  ~SessionServices();
  bool hasDisplay() const { return isDisplayed; }

  bool isDisplayed = false;
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
  std::unique_ptr<FileEvents> fileEvents;
  std::unique_ptr<ProcessLocks> processLocks;
  std::unique_ptr<Workspace> workspace;
  std::unique_ptr<Pasteboard> pasteboard;
  std::unique_ptr<KeySynthesizer> keySynthesizer;
  std::unique_ptr<KeyEventMonitor> keyEvents;
  std::unique_ptr<GlobalShortcuts> shortcuts;
  std::unique_ptr<KeyInterceptor> keyInterceptor;
  std::unique_ptr<Accessibility> accessibility;
  // Needs the store; null without one.
  std::unique_ptr<AudioRecordingManager> audioManager;
};

// Makes sure of a folder for recordings. Whoever starts a program here may write to Documents, so the explanation that
// the settings want to show first counts as read.
void prepareRecordingsFolder(StorageSettingsManager& storage);

// `services` outlives the result.
std::unique_ptr<SessionServices> makeSessionServices(Services& services, const SessionOptions& options);

}  // namespace quillmere
