#pragma once
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "app/compose/session/DisplayPorts.h"
#include "core/AudioRecordingManager.h"
#include "core/PushToTalk.h"
#include "core/RecordingTranscriptionFlow.h"
#include "core/WaitingText.h"
#include "delivery/AutoPasteHandler.h"
#include "recording/AudioDeviceManager.h"
#include "recording/CrashRecoveryManager.h"
#include "recording/MicrophonePermissionManager.h"
#include "recording/PowerActivityManager.h"
#include "recording/RecordingLifecycle.h"
#include "recording/RecordingSessionManager.h"
#include "recording/SimpleRecorder.h"
#include "triggers/BareModifierKeyMonitor.h"

namespace quillmere {

class AccessibilityPermission;
class ApplicationContextGatherer;
class AudioSessionManager;
class ElectronAppDetector;
class FileWatcher;
class RecordingEnvironment;
class RecordingFinisher;
class SelectedTextReader;
class SelectedTextService;
struct Services;
struct SoundPorts;

// What the application answers and shows while one dictates. Each may be empty.
struct DictationHooks {
  // Asks the user for another recordings folder; true when a usable one was chosen.
  std::function<Task<bool>()> recoverRecordingsFolder;
  // Cuts a text at its file references; without it the text is pasted in one piece.
  std::function<std::vector<PasteSegment>(const QString& text, const std::vector<ProcessedTag>& tags)> segmentText;
  std::function<void()> openAccessibilitySettings;
  std::function<void(const AccessibilityAlert& alert)> showAccessibilityAlert;
};

// Everything between a key and a pasted text, in the order in which the parts need each other; they go in the reverse
// order. Main thread.
struct DictationParts {
  ~DictationParts();

  std::unique_ptr<MicrophonePermissionManager> permission;
  std::unique_ptr<AudioDeviceManager> devices;
  std::unique_ptr<RecordingSessionManager> sessions;
  std::unique_ptr<SimpleRecorder> recorder;
  std::unique_ptr<AudioSessionManager> audioSession;
  std::unique_ptr<RecordingEnvironment> environment;
  std::unique_ptr<RecordingFinisher> finisher;
  std::unique_ptr<RecordingLifecycle> lifecycle;
  std::unique_ptr<FileWatcher> fileWatcher;
  std::unique_ptr<PowerActivityManager> power;
  std::unique_ptr<CrashRecoveryManager> recovery;
  std::unique_ptr<BareModifierKeyMonitor> modifierMonitor;
  std::unique_ptr<ElectronAppDetector> electronDetector;
  std::unique_ptr<AccessibilityPermission> accessibilityPermission;
  std::unique_ptr<AutoPasteHandler> autoPaste;
  std::unique_ptr<ApplicationContextGatherer> contextGatherer;
  std::unique_ptr<SelectedTextReader> selectedTextReader;
  std::unique_ptr<SelectedTextService> selectedText;
  std::unique_ptr<RecordingTranscriptionFlow> flow;
  std::unique_ptr<WaitingText> waitingText;
  std::unique_ptr<PushToTalk> pushToTalk;
  std::unique_ptr<AudioRecordingManager> manager;
};

// All arguments outlive the result; the services have a store.
std::unique_ptr<DictationParts> makeDictationParts(Services& base, SoundPorts& sound, DisplayPorts& display,
                                                   const DictationHooks& hooks);

}  // namespace quillmere
