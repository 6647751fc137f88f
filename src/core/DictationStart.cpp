// From the press to a recorder that runs, and what is looked at while it does.
#include <array>

#include "base/async/Async.h"
#include "base/text/LocalizedText.h"
#include "context/ApplicationContextGatherer.h"
#include "context/SelectedTextService.h"
#include "core/AppState.h"
#include "core/Dictation.h"
#include "core/RecordingStartSnapshot.h"
#include "delivery/AutoPasteHandler.h"
#include "ports/ErrorReporting.h"
#include "projects/SpokenFileTags.h"
#include "providers/ModeReadiness.h"
#include "recording/AudioDeviceManager.h"
#include "recording/MicrophonePermissionManager.h"
#include "recording/RecordingLifecycle.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "transcripts/TranscriptRoad.h"

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

Task<bool> Dictation::start() {
  leaveBreadcrumb(QStringLiteral("Recording start requested"), QStringLiteral("audio.recording"), ReportLevel::info,
                  {{QStringLiteral("trigger"), rawValue(trigger())},
                   {QStringLiteral("permissionStatus"), use_.permissionManager.permissionStatus()}});
  PreflightCheckpoints checkpoints(use_.executor, &use_.errorReporting, logger_);
  checkpoints.mark(QStringLiteral("recording dialog shown"));
  if (!checkMode()) co_return false;
  target_ = use_.workspace.frontmostApplication();
  typing_ = use_.autoPasteHandler.watchTyping();

  const bool isPermitted = co_await use_.permissionManager.requestPermission();
  checkpoints.mark(QStringLiteral("microphone permission"));
  if (!isPermitted) {
    use_.permissionManager.setShowPermissionDeniedAlert(true);
    co_return false;
  }
  // Thrown away, or the application's end, while somebody was asked for the microphone.
  if (ending_) co_return false;
  awake_ = use_.powerActivityManager.hold(QStringLiteral("Recording and transcribing audio"));
  if (!co_await startRecorder()) co_return false;
  checkpoints.mark(QStringLiteral("audio engine started"));
  timings_.triggerToRecorderRunning = use_.executor.now() - beginning_.pressedAt;
  host_.recorderRuns(*this);
  logger_.info("⏺️ Started recording with mode: %s", modeName());
  checkpoints.mark(QStringLiteral("critical path complete - recording active"));
  scope_.spawn(watchStorage(checkpoints));
  if (wantsContext()) scope_.spawn(captureContext(checkpoints));
  co_return true;
}

bool Dictation::checkMode() {
  const AppStateData& state = use_.appState.data();
  if (beginning_.modeName && *beginning_.modeName != state.selectedModeName) {
    if (const auto named = use_.persistence.fetchModeByName(*beginning_.modeName)) mode_ = *named;
  } else {
    mode_ = use_.persistence.fetchMode(state.selectedModeId);
  }
  if (!mode_) {
    tell(localizedText("recording.error.modeMissing"), false);
    return false;
  }
  modeId_ = mode_->id ? mode_->id->toString(QUuid::WithoutBraces) : QString();
  const std::vector<MissingAPIKey> missing = use_.readiness.missingKeys(*mode_);
  const auto problem = use_.readiness.whyModeCannotRun(mode_.get());
  host_.show(*this, [&](AppStateData& data) {
    data.missingAPIKeys = missing;
    data.showAPIKeyAlert = problem.has_value() && !missing.empty();
    data.postProcessingKeyMissing = !problem.has_value() && !missing.empty();
  });
  if (!problem) return true;
  const AnyError error = *problem;
  tell(localizedDescription(error), isCritical(error), isNetworkFailure(error));
  return false;
}

// A start that is thrown away is undone by the lifecycle: no recorder runs on and no file is left.
Task<bool> Dictation::startRecorder() {
  startTask_ = scope_.spawn(use_.recordingLifecycle.startRecording());
  auto joining = startTask_.join();
  std::optional<Result<StartedRecording, AnyError>> started;
  try {
    started.emplace(co_await std::move(joining));
  } catch (const Cancelled&) {
    logger_.info("Recording start cancelled: %s", localizedText("recording.error.startCancelled"));
    co_return false;
  }
  if (*started) co_return true;
  failStart(started->error());
  co_return false;
}

void Dictation::failStart(const AnyError& error) {
  QString message = localizedDescription(error);
  if (isMicrophoneBusy(error)) {
    logger_.warning("Recording start blocked: microphone busy · error: %s", message);
    message = localizedText("audio.error.microphoneInUse");
  } else {
    reportFailedStart(error);
  }
  logger_.info("🧹 Cleaned up failed recording attempt");
  tell(message, false);
}

void Dictation::reportFailedStart(const AnyError& error) {
  if (!use_.errorReporting.isEnabled()) return;
  AudioDeviceManager& devices = use_.deviceManager;
  const CoreAudioDeviceHelper& helper = devices.helper();

  RecordingStartSnapshot snapshot;
  snapshot.attemptId = attemptId_;
  snapshot.trigger = trigger();
  snapshot.permissionStatus = use_.permissionManager.permissionStatus();
  snapshot.hasMicrophonePermission = use_.permissionManager.hasMicrophonePermission().get();
  snapshot.recordingLifecycleHasPermission = use_.recordingLifecycle.hasMicrophonePermission();
  snapshot.selectedDevice = devices.selectedDevice().get();
  if (snapshot.selectedDevice)
    snapshot.selectedDeviceTransportType = helper.transportType(snapshot.selectedDevice->uid);
  else
    snapshot.selectedDeviceTransportType = QStringLiteral("unknown");
  snapshot.recordingsFolder = use_.settingsManager.storage().recordingsFolder();
  snapshot.recordingLifecycleIsRecording = use_.recordingLifecycle.isRecording().get();
  snapshot.recordingState = use_.appState.data().recordingState;
  snapshot.mediaControlMode = rawValue(use_.settingsManager.audio().mediaControlMode());
  snapshot.autoIncreaseMicVolume = use_.settingsManager.audio().autoIncreaseMicVolume();
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
  use_.errorReporting.captureError(error, options);
}

// --- while the recorder runs

// Nobody looks into another program for something that nobody reads.
bool Dictation::wantsContext() const {
  const bool isRewritten = mode_->postProcessingMode.value_or(0) != static_cast<qint16>(PostProcessingMode::off);
  return isRewritten || (use_.fileTags != nullptr && use_.settingsManager.developerMode().enableDeveloperMode());
}

Task<void> Dictation::captureContext(PreflightCheckpoints checkpoints) {
  context_ = co_await use_.contextGatherer.gather();
  selectedText_ = co_await use_.selectedTextService.capture();
  if (use_.fileTags != nullptr) co_await use_.fileTags->refreshFileIndex();
  checkpoints.mark(QStringLiteral("context capture complete"));
}

// A folder that becomes unusable ends the recording; what is there by then is kept and transcribed.
Task<void> Dictation::watchStorage(PreflightCheckpoints checkpoints) {
  if (co_await use_.settingsManager.storage().waitForRecordingsFolder(recordingsFolderLimit)) {
    checkpoints.mark(QStringLiteral("background validation passed"));
    co_return;
  }
  if (use_.recoverRecordingsFolder && co_await use_.recoverRecordingsFolder()) co_return;
  if (ending_) co_return;
  const QString message = localizedText("recording.error.documentsAccess");
  logger_.error("Recording cancelled due to validation failure: %s", message);
  use_.appState.showError(message, false);
  host_.recorderEnded(*this);
}

}  // namespace quillmere
