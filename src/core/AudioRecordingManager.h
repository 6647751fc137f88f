#pragma once
#include <optional>
#include <vector>

#include "base/Published.h"
#include "base/async/Executor.h"
#include "base/async/TaskScope.h"
#include "base/log/Logger.h"
#include "core/RecordingLiveMetrics.h"

namespace quillmere {

class AccessibilityPermission;
class AudioDeviceManager;
class BareModifierKeyMonitor;
class DefaultsStore;
class MicrophonePermissionManager;
class PushToTalk;
class RecordingLifecycle;
class SettingsManager;
class SimpleRecorder;

// Arms the recording side when the program starts and keeps its parts in step with the settings and with each other.
// Builds none of them and does no recording work. Main thread.
class AudioRecordingManager final {
 public:
  // All outlive the manager.
  struct Parts {
    Executor& executor;
    DefaultsStore& defaults;
    SettingsManager& settings;
    AudioDeviceManager& devices;
    MicrophonePermissionManager& permission;
    SimpleRecorder& recorder;
    RecordingLifecycle& lifecycle;
    BareModifierKeyMonitor& modifierMonitor;
    PushToTalk& pushToTalk;
    AccessibilityPermission& accessibility;
  };
  AudioRecordingManager(const Parts& parts, const Logging& logging);
  ~AudioRecordingManager();
  AudioRecordingManager(const AudioRecordingManager&) = delete;
  AudioRecordingManager& operator=(const AudioRecordingManager&) = delete;

  // Once, at start-up: waits for the sound server's first list (2 s at most), follows the settings, arms the triggers.
  Task<void> configure();
  // Level and length change many times a second: who shows them observes these alone.
  RecordingLiveMetrics& liveMetrics() { return liveMetrics_; }

 private:
  void bindState();
  Task<void> waitForAccessibility();
  void settingChanged(const QString& key);

  Parts use_;
  Logger logger_;
  RecordingLiveMetrics liveMetrics_;
  bool isConfigured_ = false;
  std::optional<int> defaultsObserver_;
  std::vector<Subscription> subscriptions_;
  TaskScope scope_;  // last: its tasks use the fields above
};

}  // namespace quillmere
