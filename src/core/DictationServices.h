#pragma once
#include <functional>

#include "base/async/Task.h"

namespace quillmere {

class AppState;
class ApplicationContextGatherer;
class AudioDeviceManager;
class AutoPasteHandler;
class ErrorReporting;
class Executor;
class FileWatcher;
class GlobalShortcuts;
class MicrophonePermissionManager;
class ModeReadiness;
class PersistenceController;
class PowerActivityManager;
class RecordingLifecycle;
class RecordingSessionManager;
class SelectedTextService;
class SettingsManager;
class SpokenFileTags;
class TranscriptRoad;
class Workspace;

// What a dictation works with. Everything outlives the flow.
struct DictationServices {
  Executor& executor;
  AppState& appState;
  RecordingLifecycle& recordingLifecycle;
  RecordingSessionManager& sessionManager;
  AudioDeviceManager& deviceManager;
  MicrophonePermissionManager& permissionManager;
  PowerActivityManager& powerActivityManager;
  FileWatcher& fileWatcher;
  AutoPasteHandler& autoPasteHandler;
  ApplicationContextGatherer& contextGatherer;
  SelectedTextService& selectedTextService;
  PersistenceController& persistence;
  SettingsManager& settingsManager;
  Workspace& workspace;
  TranscriptRoad& road;
  const ModeReadiness& readiness;
  GlobalShortcuts& globalShortcuts;
  ErrorReporting& errorReporting;
  SpokenFileTags* fileTags = nullptr;  // null where no project is known
  // Asks the user for another recordings folder; true when a usable one was chosen. Empty: nobody is asked.
  std::function<Task<bool>()> recoverRecordingsFolder = {};
};

}  // namespace quillmere
