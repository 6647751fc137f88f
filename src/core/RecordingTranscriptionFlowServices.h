#pragma once
#include <QString>
#include <functional>

#include "base/async/Task.h"
#include "domain/States.h"

namespace quillmere {

class AppState;
class ApplicationContextGatherer;
class AudioDeviceManager;
class AutoPasteHandler;
class CloudProviderAPIKeyProviding;
class ErrorReporting;
class Executor;
class FileWatcher;
class GlobalShortcuts;
class MicrophonePermissionManager;
class NetworkStatus;
class PersistenceController;
class PowerActivityManager;
class RecordingLifecycle;
class RecordingSessionManager;
class SelectedTextService;
class SettingsManager;
class SpokenFileTags;
class Transcriber;
class VADProcessing;
class Workspace;

// What the flow works with. Everything outlives the flow; pointers and functions may be null.
struct RecordingTranscriptionFlowServices {
  Executor& executor;
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
  Workspace& workspace;
  const NetworkStatus& network;
  VADProcessing* vadProcessingService = nullptr;
  GlobalShortcuts* globalShortcuts = nullptr;
  const CloudProviderAPIKeyProviding* apiKeys = nullptr;
  ErrorReporting* errorReporting = nullptr;
  SpokenFileTags* fileTags = nullptr;
  // Asks the user for another recordings folder; true when a usable one was chosen.
  std::function<Task<bool>()> recoverRecordingsFolder = {};
  Transcriber* transcriptionPipeline = nullptr;
  std::function<TranscriptionState()> transcriptionState = {};  // of the pipeline, now
  SettingsManager* settingsManager = nullptr;
  AppState* appState = nullptr;
};

}  // namespace quillmere
