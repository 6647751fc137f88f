// From a press to a recording that runs, is validated and knows its context.
#include <QUuid>

#include "base/async/Async.h"
#include "base/text/LocalizedText.h"
#include "context/ApplicationContextGatherer.h"
#include "context/SelectedTextService.h"
#include "core/AppState.h"
#include "core/RecordingStartSnapshot.h"
#include "core/RecordingTranscriptionFlow.h"
#include "delivery/AccessibilityHelper.h"
#include "delivery/AutoPasteHandler.h"
#include "ports/ErrorReporting.h"
#include "ports/NetworkStatus.h"
#include "ports/Workspace.h"
#include "projects/SpokenFileTags.h"
#include "providers/MissingAPIKey.h"
#include "recording/AudioDeviceManager.h"
#include "recording/MicrophonePermissionManager.h"
#include "recording/PowerActivityManager.h"
#include "recording/RecordingLifecycle.h"
#include "recording/RecordingSessionManager.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr auto recordingsFolderLimit = 120s;

// The microphone is there but somebody else has it: what the sound server says of that.
bool isMicrophoneBusy(const AnyError& error) {
  static constexpr std::array domains{"audio", "NSOSStatusErrorDomain", "NSPOSIXErrorDomain",
                                      "com.apple.coreaudio.avfaudio", "AVAudioSessionErrorDomain"};
  const auto* platform = std::get_if<PlatformError>(&error);
  if (platform == nullptr) return false;
  return std::any_of(domains.begin(), domains.end(),
                     [&](const char* domain) { return platform->domain == QLatin1String(domain); });
}

}  // namespace

Task<void> RecordingTranscriptionFlow::start(QString modeName, TimePoint pressedAt) {
  if (isShutDown_) co_return;
  currentRecordingAttemptId_ = QUuid::createUuid().toString(QUuid::WithoutBraces);
  const bool isStreamingShortcut = use_.appState != nullptr && use_.appState->data().isStreamingShortcutTriggered;
  if (isStreamingShortcut) currentRecordingTriggerSource_ = RecordingTriggerSource::streamingShortcut;
  leaveBreadcrumb(QStringLiteral("Recording start requested"), QStringLiteral("audio.recording"), ReportLevel::info,
                  {{QStringLiteral("mode"), modeName},
                   {QStringLiteral("streamingShortcutTriggered"), isStreamingShortcut},
                   {QStringLiteral("isRecording"), isRecording()},
                   {QStringLiteral("isStreamingActive"), isStreamingActive()},
                   {QStringLiteral("trigger"), rawValue(currentRecordingTriggerSource_)},
                   {QStringLiteral("attemptId"), attemptText()},
                   {QStringLiteral("permissionStatus"), use_.permissionManager.permissionStatus()}});
  PreflightCheckpoints checkpoints(use_.executor, use_.errorReporting, logger_);

  if (use_.transcriptionState) {
    const TranscriptionState pipeline = use_.transcriptionState();
    if (pipeline.is<TranscriptionState::Transcribing>() || pipeline.is<TranscriptionState::PostProcessing>())
      logger_.info("Recording will cancel previous transcription in progress");
  }
  if (toggleTask_ && toggleTask_->cancel.isCancelled()) {
    logger_.info("Start recording cancelled due to newer toggle request");
    leaveBreadcrumb(QStringLiteral("Recording start cancelled by newer toggle"), QStringLiteral("audio.recording"),
                    ReportLevel::warning,
                    {{QStringLiteral("attemptId"), attemptText()},
                     {QStringLiteral("trigger"), rawValue(currentRecordingTriggerSource_)}});
    clearAttempt();
    co_return;
  }

  updateState([](AppStateData& data) {
    data.lastTranscription.clear();
    data.pendingRetryAudioPath.reset();
    data.transcriptionPasteFailed = false;
    data.showRecordingDialog = true;
  });
  checkpoints.mark(QStringLiteral("recording dialog shown"));
  if (isStreamingShortcut) {
    refuseStreaming();
    co_return;
  }

  const QString modeId = use_.appState != nullptr ? use_.appState->data().selectedModeId : QString();
  noteFrontmostApplication();

  auto asking = use_.permissionManager.requestPermission();
  const bool isPermitted = co_await std::move(asking);
  checkpoints.mark(QStringLiteral("microphone permission"));
  if (!isPermitted) {
    updateState([](AppStateData& data) { data.showRecordingDialog = false; });
    use_.permissionManager.setShowPermissionDeniedAlert(true);
    co_return;
  }

  use_.powerActivityManager.begin(QStringLiteral("Recording and transcribing audio"));
  std::optional<AnyError> error;
  bool wasCancelled = false;
  try {
    auto starting = use_.recordingLifecycle.startRecording();
    auto started = co_await std::move(starting);
    if (!started) error = started.error();
  } catch (const Cancelled&) {
    wasCancelled = true;
  }
  if (error || wasCancelled) {
    failStart(error);
    co_return;
  }
  if (isShutDown_) {  // nobody will stop it any more
    auto ending = finishEverything();
    co_await std::move(ending);
    co_return;
  }
  started_ = Started{};
  started_.pressedAt = pressedAt;
  started_.timings.triggerToRecorderRunning = use_.executor.now() - pressedAt;
  checkpoints.mark(QStringLiteral("audio engine started"));
  setRecordingState({RecordingState::Recording{}});
  checkpoints.mark(QStringLiteral("recording state updated"));
  enableCancelShortcut();
  logger_.info("⏺️ Started recording with mode: %s", modeName);
  checkpoints.mark(QStringLiteral("critical path complete - recording active"));

  const ModePtr mode = use_.persistence.fetchMode(modeId);
  if (!mode) {
    auto failing = failValidation(localizedText("recording.error.modeMissing"));
    co_await std::move(failing);
    co_return;
  }
  scope_.spawn(validateInBackground(mode, checkpoints));
}

void RecordingTranscriptionFlow::refuseStreaming() {
  // The recording state is left alone: it may be that of an earlier recording that is still transcribed.
  logger_.warning("📡 Streaming shortcut detected - live dictation is not available");
  updateState([](AppStateData& data) {
    data.showRecordingDialog = false;
    data.isStreamingShortcutTriggered = false;
  });
  if (use_.appState != nullptr) use_.appState->showError(localizedText("recording.error.streamingUnavailable"));
  clearAttempt();
}

void RecordingTranscriptionFlow::noteFrontmostApplication() {
  const auto frontmost = use_.workspace.frontmostApplication();
  previousFrontmostPID_.reset();
  previousFrontmostBundleID_.reset();
  if (frontmost) {
    previousFrontmostPID_ = frontmost->processId;
    previousFrontmostBundleID_ = frontmost->bundleId;
  }
  use_.autoPasteHandler.setPreviousFrontmostPID(previousFrontmostPID_);
}

// --- behind the running recorder

Task<void> RecordingTranscriptionFlow::validateInBackground(ModePtr mode, PreflightCheckpoints checkpoints) {
  std::vector<Task<std::optional<QString>>> checks;
  checks.push_back(checkAPIKeys(mode));
  checks.push_back(checkStorage());
  auto checking = whenAll(std::move(checks));
  const auto failures = co_await std::move(checking);
  const auto failure =
      std::find_if(failures.begin(), failures.end(), [](const auto& text) { return text.has_value(); });
  if (failure != failures.end()) {
    const RecordingState state = use_.appState != nullptr ? use_.appState->data().recordingState : RecordingState{};
    if (!state.is<RecordingState::Recording>()) {
      logger_.info("Background validation failed but state is %s - skipping cancel (recording already stopped)",
                   state.diagnosticLabel());
      co_return;
    }
    auto failing = failValidation(**failure);
    co_await std::move(failing);
    co_return;
  }
  checkpoints.mark(QStringLiteral("background validation passed"));
  if (!isRecording()) {
    logger_.info("Recording already stopped - skipping context capture");
    co_return;
  }

  auto saving = use_.accessibilityHelper.beginRecordingSession();
  co_await std::move(saving);
  auto gathering = use_.contextGatherer.gather();
  capturedApplicationContext_ = co_await std::move(gathering);
  auto reading = use_.selectedTextService.capture();
  capturedSelectedText_ = co_await std::move(reading);
  if (use_.fileTags != nullptr) {
    auto refreshing = use_.fileTags->refreshFileIndex();
    co_await std::move(refreshing);
  }
  checkpoints.mark(QStringLiteral("context capture complete"));
}

Task<std::optional<QString>> RecordingTranscriptionFlow::checkAPIKeys(ModePtr mode) {
  const auto missing = missingAPIKeys(*mode, use_.network.isOnline(), use_.apiKeys);
  const auto isOffline = [](const MissingAPIKey& entry) {
    return std::holds_alternative<MissingAPIKey::Offline>(entry.context);
  };
  const auto isPostProcessing = [](const MissingAPIKey& entry) {
    return std::holds_alternative<MissingAPIKey::PostProcessing>(entry.context);
  };
  if (missing.empty()) {
    updateState([](AppStateData& data) {
      data.postProcessingKeyMissing = false;
      data.missingAPIKeys.clear();
    });
    co_return std::nullopt;
  }
  const bool onlyRewriteIsMissing = std::all_of(missing.begin(), missing.end(), isPostProcessing);
  updateState([&](AppStateData& data) {
    data.missingAPIKeys = missing;
    if (onlyRewriteIsMissing)
      data.postProcessingKeyMissing = true;
    else
      data.showAPIKeyAlert = true;
  });
  if (onlyRewriteIsMissing) co_return std::nullopt;
  if (missing.size() == 1 && isOffline(missing.front()))
    co_return QStringLiteral("Cannot use cloud transcription while offline");
  co_return QStringLiteral("Missing API keys");
}

Task<std::optional<QString>> RecordingTranscriptionFlow::checkStorage() {
  if (use_.settingsManager == nullptr) co_return std::nullopt;
  auto waiting = use_.settingsManager->storage().waitForRecordingsFolder(recordingsFolderLimit);
  if (co_await std::move(waiting)) co_return std::nullopt;
  if (use_.recoverRecordingsFolder) {
    auto recovering = use_.recoverRecordingsFolder();
    if (co_await std::move(recovering)) co_return std::nullopt;
  }
  co_return localizedText("recording.error.documentsAccess");
}

Task<void> RecordingTranscriptionFlow::failValidation(QString text) {
  logger_.error("Recording cancelled due to validation failure: %s", text);
  auto stopping = use_.recordingLifecycle.stopRecording();
  if (const auto result = co_await std::move(stopping)) use_.sessionManager.settleSession(result->session);
  updateState([](AppStateData& data) {
    data.recordingState = {RecordingState::Idle{}};
    data.showRecordingDialog = false;
    data.showCancelConfirmation = false;
    data.isStreamingShortcutTriggered = false;
  });
  if (use_.appState != nullptr) use_.appState->showError(text);
  use_.powerActivityManager.end();
  disableCancelShortcut();
  use_.accessibilityHelper.endRecordingSession();
  clearAttempt();
}

// --- a start that failed

void RecordingTranscriptionFlow::failStart(const std::optional<AnyError>& error) {
  QString message = localizedText("recording.error.startCancelled");
  if (!error) {
    logger_.info("Recording start cancelled: %s", message);
  } else if (isMicrophoneBusy(*error)) {
    message = localizedText("audio.error.microphoneInUse");
    logger_.warning("Recording start blocked: microphone busy · error: %s", localizedDescription(*error));
  } else {
    message = localizedDescription(*error);
    reportFailedStart(*error);
  }
  use_.powerActivityManager.end();
  use_.accessibilityHelper.endRecordingSession();

  // Never the row of another recording that runs meanwhile.
  if (!isRecording()) use_.sessionManager.deleteCurrentSession();
  capturedApplicationContext_.reset();
  capturedSelectedText_.reset();
  previousFrontmostPID_.reset();
  previousFrontmostBundleID_.reset();
  disableCancelShortcut();
  logger_.info("🧹 Cleaned up failed recording attempt");

  updateState([](AppStateData& data) {
    data.recordingState = {RecordingState::Idle{}};
    data.showCancelConfirmation = false;
    data.showRecordingDialog = false;
    data.isStreamingShortcutTriggered = false;
  });
  if (use_.appState != nullptr) use_.appState->showError(message);
  clearAttempt();
}

void RecordingTranscriptionFlow::reportFailedStart(const AnyError& error) {
  if (use_.errorReporting == nullptr || !use_.errorReporting->isEnabled()) return;
  AudioDeviceManager& devices = use_.deviceManager;
  const CoreAudioDeviceHelper& helper = devices.helper();
  const AppStateData state = use_.appState != nullptr ? use_.appState->data() : AppStateData{};

  RecordingStartSnapshot snapshot;
  snapshot.attemptId = currentRecordingAttemptId_;
  snapshot.trigger = currentRecordingTriggerSource_;
  snapshot.permissionStatus = use_.permissionManager.permissionStatus();
  snapshot.hasMicrophonePermission = use_.permissionManager.hasMicrophonePermission().get();
  snapshot.recordingLifecycleHasPermission = use_.recordingLifecycle.hasMicrophonePermission();
  snapshot.selectedDevice = devices.selectedDevice().get();
  if (snapshot.selectedDevice)
    snapshot.selectedDeviceTransportType = helper.transportType(snapshot.selectedDevice->uid);
  else
    snapshot.selectedDeviceTransportType = QStringLiteral("unknown");
  snapshot.recordingsFolder = recordingsFolder();
  snapshot.isStreamingShortcutTriggered = state.isStreamingShortcutTriggered;
  snapshot.recordingLifecycleIsRecording = isRecording();
  snapshot.recordingState = state.recordingState;
  if (use_.settingsManager != nullptr) {
    snapshot.mediaControlMode = rawValue(use_.settingsManager->audio().mediaControlMode());
    snapshot.autoIncreaseMicVolume = use_.settingsManager->audio().autoIncreaseMicVolume();
  }
  snapshot.systemDefaultDeviceUID = devices.systemDefaultDeviceUID().get();
  snapshot.activeDeviceName = devices.activeInputDeviceName().get();
  snapshot.activeDeviceUID = devices.activeInputDeviceIdentifier().get();
  snapshot.activeDeviceTransportType = helper.transportType(snapshot.activeDeviceUID);
  snapshot.activeDevice = helper.description(snapshot.activeDeviceUID);
  for (const AudioDevice& device : devices.availableDevices().get())
    snapshot.availableInputs.push_back({device.name, helper.transportType(device.uid)});
  snapshot.error = error;

  ReportOptions options;
  options.message = QStringLiteral("Failed to start recording");
  options.extra = snapshot.data();
  use_.errorReporting->captureError(error, options);
}

}  // namespace quillmere
