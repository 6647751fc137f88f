#pragma once
#include <QString>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/Clock.h"
#include "base/Published.h"
#include "base/async/Executor.h"
#include "base/async/TaskScope.h"
#include "base/log/Logger.h"
#include "core/DictationControl.h"
#include "core/PushToTalk.h"
#include "core/RecordingLiveMetrics.h"
#include "recording/AudioDevice.h"
#include "storage/StandardFolders.h"

namespace quillmere {

class Accessibility;
class AccessibilityPermission;
class AppState;
class ApplicationContextGatherer;
class AudioDeviceManager;
class AudioDevices;
class AudioFileConverter;
class AudioRecorderFactory;
class AudioSessionManager;
class AutoPasteHandler;
class BareModifierKeyMonitor;
class CrashRecoveryManager;
class CloudProviderAPIKeyProviding;
class DefaultsStore;
class ElectronAppDetector;
class ErrorReporting;
class FileEvents;
class FileWatcher;
class GlobalShortcuts;
class KeyEventMonitor;
class KeySynthesizer;
class MediaPlayback;
class MediaReaderFactory;
class MicrophoneAuthorization;
class MicrophonePermissionManager;
class NetworkStatus;
class OutputVolume;
class Pasteboard;
class PersistenceController;
class PowerActivity;
class PowerActivityManager;
class RecordingLifecycle;
class RecordingSessionManager;
class RecordingTranscriptionFlow;
class SelectedTextReader;
class SelectedTextService;
class SettingsManager;
class SimpleRecorder;
class SpokenFileTags;
class TranscriptionPipeline;
class VADProcessing;
class Workspace;
struct AccessibilityAlert;
struct PasteSegment;
struct ProcessedTag;

// The platform behind a dictation. Everything outlives the manager.
struct AudioRecordingPorts {
  AudioRecorderFactory& recorders;
  AudioDevices& devices;
  OutputVolume& outputVolume;
  MediaPlayback& mediaPlayback;
  MicrophoneAuthorization& microphoneAuthorization;
  PowerActivity& powerActivity;
  FileEvents& fileEvents;
  Workspace& workspace;
  Pasteboard& pasteboard;
  KeySynthesizer& keySynthesizer;
  Accessibility& accessibility;
  KeyEventMonitor& keyEvents;
  GlobalShortcuts& shortcuts;
};

// What a dictation works with. Everything outlives the manager; pointers may be null.
struct AudioRecordingServices {
  Executor& executor;
  const Clock& clock;
  DefaultsStore& defaults;
  SettingsManager& settings;
  PersistenceController& persistence;
  AppState& appState;
  TranscriptionPipeline& pipeline;
  MediaReaderFactory& mediaReaders;
  AudioFileConverter& audioFileConverter;
  VADProcessing& vadProcessingService;
  const NetworkStatus& network;
  StandardFolders folders;
  ErrorReporting* errorReporting = nullptr;
  const CloudProviderAPIKeyProviding* apiKeys = nullptr;
  SpokenFileTags* fileTags = nullptr;
};

// What the application answers and shows. Each may be empty.
struct AudioRecordingHooks {
  // Asks the user for another recordings folder; true when a usable one was chosen.
  std::function<Task<bool>()> recoverRecordingsFolder;
  // Whether a live process records into that file.
  std::function<bool(const QString& path)> isFileInUse;
  // Cuts a text at its file references; without it the text is pasted in one piece.
  std::function<std::vector<PasteSegment>(const QString& text, const std::vector<ProcessedTag>& tags)> segmentText;
  std::function<void(const QString& url)> openUrl;
  std::function<void(const AccessibilityAlert& alert)> showAccessibilityAlert;
};

// Owns every part of the recording side, built in the order in which they need each other, and shows their state in one
// place. Does no recording work itself. Made once; main thread.
class AudioRecordingManager final : public DictationControl {
 public:
  AudioRecordingManager(const AudioRecordingPorts& ports, const AudioRecordingServices& services,
                        AudioRecordingHooks hooks, const Logging& logging);
  ~AudioRecordingManager() override;
  AudioRecordingManager(const AudioRecordingManager&) = delete;
  AudioRecordingManager& operator=(const AudioRecordingManager&) = delete;

  // Once, at start-up: waits for the sound server's first list (2 s at most), takes the saved microphone up again,
  // follows the settings and arms the triggers.
  Task<void> configure();

  // --- intents
  void toggleRecording(std::optional<QString> modeName, bool stopOnly, RecordingTriggerSource trigger) override;
  void cancelFromShortcut() override;
  Task<void> retryPendingTranscription();
  // The end of the application: returns when no recording and no dictation can be lost any more.
  Task<void> shutDown();
  void configurePushToTalk() override;
  void setPedalMonitoring(PedalMonitoring pedal);
  // Nothing stands for the system's default. Choosing the present device does nothing.
  void setSelectedDevice(const std::optional<AudioDevice>& device);

  // --- state, as it is shown
  bool isRecordingNow() const override;
  double liveRecordingDuration() const override;
  Published<bool>& isRecording();
  Published<std::vector<AudioDevice>>& availableDevices();
  Published<std::optional<AudioDevice>>& selectedDevice();
  Published<std::optional<float>>& inputVolumeScalar();
  Published<QString>& activeInputDeviceName();
  Published<std::optional<QString>>& activeInputDeviceIdentifier();
  Published<std::optional<QString>>& systemDefaultDeviceUID();
  Published<bool>& hasMicrophonePermission();
  Published<bool>& showPermissionDeniedAlert();
  Published<std::optional<QString>>& errorMessage() { return errorMessage_; }  // why the microphone can't be used
  Published<std::optional<QString>>& lastRecordingURL();
  RecordingLiveMetrics& liveMetrics() { return liveMetrics_; }

  // --- the parts
  RecordingTranscriptionFlow& recordingTranscriptionFlow() { return *flow_; }
  RecordingLifecycle& lifecycleManager() { return *lifecycle_; }
  MicrophonePermissionManager& permissionManager() { return *permission_; }
  AudioDeviceManager& deviceManager() { return *deviceManager_; }
  RecordingSessionManager& sessionManager() { return *session_; }
  CrashRecoveryManager& recoveryManager() { return *recovery_; }
  PowerActivityManager& powerManager() { return *power_; }
  AutoPasteHandler& autoPasteHandler() { return *autoPaste_; }
  AccessibilityPermission& accessibilityPermission() { return *accessibilityPermission_; }
  BareModifierKeyMonitor& bareModifierKeyMonitor() { return *modifierMonitor_; }

 private:
  void buildRecording(const AudioRecordingHooks& hooks, const Logging& logging);
  void buildDelivery(const AudioRecordingHooks& hooks, const Logging& logging);
  void buildFlow(const AudioRecordingHooks& hooks, const Logging& logging);
  void bindState();
  const AudioDevice* attachedDevice(const QString& idOrUid);
  Task<void> restoreSavedMicrophone();
  Task<void> waitForAccessibility();
  void followSettings();
  void settingChanged(const QString& key);

  AudioRecordingPorts ports_;
  AudioRecordingServices services_;
  Logger logger_;
  RecordingLiveMetrics liveMetrics_;
  Published<std::optional<QString>> errorMessage_;

  std::unique_ptr<MicrophonePermissionManager> permission_;
  std::unique_ptr<AudioDeviceManager> deviceManager_;
  std::unique_ptr<RecordingSessionManager> session_;
  std::unique_ptr<SimpleRecorder> recorder_;
  std::unique_ptr<AudioSessionManager> audioSession_;
  std::unique_ptr<RecordingLifecycle> lifecycle_;
  std::unique_ptr<FileWatcher> fileWatcher_;
  std::unique_ptr<PowerActivityManager> power_;
  std::unique_ptr<CrashRecoveryManager> recovery_;
  std::unique_ptr<BareModifierKeyMonitor> modifierMonitor_;
  std::unique_ptr<ElectronAppDetector> electronDetector_;
  std::unique_ptr<AccessibilityPermission> accessibilityPermission_;
  std::unique_ptr<AutoPasteHandler> autoPaste_;
  std::unique_ptr<ApplicationContextGatherer> contextGatherer_;
  std::unique_ptr<SelectedTextReader> selectedTextReader_;
  std::unique_ptr<SelectedTextService> selectedText_;
  std::unique_ptr<RecordingTranscriptionFlow> flow_;
  std::unique_ptr<PushToTalk> pushToTalk_;
  bool isConfigured_ = false;
  std::optional<int> defaultsObserver_;
  Subscription untilDevicesCome_;
  std::vector<Subscription> subscriptions_;
  TaskScope scope_;  // last: its tasks use the fields above
};

}  // namespace quillmere
