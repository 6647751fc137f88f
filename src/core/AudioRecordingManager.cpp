#include "core/AudioRecordingManager.h"

#include <algorithm>

#include "audio/AudioFileConverter.h"
#include "audio/VADProcessing.h"
#include "base/async/Await.h"
#include "context/ApplicationContextGatherer.h"
#include "context/ElectronAppDetector.h"
#include "context/SelectedTextReader.h"
#include "context/SelectedTextService.h"
#include "core/AppState.h"
#include "core/RecordingTranscriptionFlow.h"
#include "delivery/AccessibilityHelper.h"
#include "delivery/AutoPasteHandler.h"
#include "ports/DefaultsStore.h"
#include "recording/AudioDeviceManager.h"
#include "recording/AudioSessionManager.h"
#include "recording/CrashRecoveryManager.h"
#include "recording/FileWatcher.h"
#include "recording/MicrophonePermissionManager.h"
#include "recording/PowerActivityManager.h"
#include "recording/RecordingLifecycle.h"
#include "recording/RecordingSessionManager.h"
#include "recording/SimpleRecorder.h"
#include "storage/SettingsManager.h"
#include "transcripts/TranscriptionPipeline.h"
#include "triggers/BareModifierKeyMonitor.h"

namespace quillmere {
namespace {

constexpr Duration accessibilityPatience = std::chrono::seconds(1);
constexpr Duration accessibilityPace = std::chrono::milliseconds(20);

}  // namespace

AudioRecordingManager::AudioRecordingManager(const AudioRecordingPorts& ports, const AudioRecordingServices& services,
                                             AudioRecordingHooks hooks, const Logging& logging)
    : ports_(ports),
      services_(services),
      logger_(logging.logger(QStringLiteral("AudioRecordingManager"))),
      scope_(services.executor) {
  buildRecording(hooks, logging);
  modifierMonitor_ =
      std::make_unique<BareModifierKeyMonitor>(ports_.keyEvents, services_.executor, services_.errorReporting, logging);
  buildDelivery(hooks, logging);
  buildFlow(hooks, logging);
  bindState();
  permission_->refreshPermission();
}

AudioRecordingManager::~AudioRecordingManager() {
  if (defaultsObserver_) services_.defaults.removeObserver(*defaultsObserver_);
}

void AudioRecordingManager::buildRecording(const AudioRecordingHooks& hooks, const Logging& logging) {
  const AudioRecordingServices& s = services_;
  permission_ = std::make_unique<MicrophonePermissionManager>(ports_.microphoneAuthorization, s.errorReporting);
  deviceManager_ = std::make_unique<AudioDeviceManager>(ports_.devices, s.executor, s.errorReporting, logging);
  session_ = std::make_unique<RecordingSessionManager>(s.persistence, s.clock, logging);
  recorder_ = std::make_unique<SimpleRecorder>(ports_.recorders, s.executor, logging);
  audioSession_ = std::make_unique<AudioSessionManager>(ports_.outputVolume, ports_.mediaPlayback, s.clock, logging);
  RecordingLifecycle::Dependencies lifecycle{s.executor,     s.clock,         *recorder_, s.audioFileConverter,
                                             s.mediaReaders, *deviceManager_, *session_,  *audioSession_,
                                             s.persistence,  s.folders};
  lifecycle.reporting = s.errorReporting;
  lifecycle_ = std::make_unique<RecordingLifecycle>(lifecycle, logging);
  lifecycle_->setSettingsManager(&s.settings);
  fileWatcher_ = std::make_unique<FileWatcher>(ports_.fileEvents, s.errorReporting, logging);
  power_ = std::make_unique<PowerActivityManager>(ports_.powerActivity, logging);
  CrashRecoveryManager::Dependencies recovery{s.persistence, s.audioFileConverter, s.mediaReaders, s.clock,
                                              s.folders,     hooks.isFileInUse};
  recovery.reporting = s.errorReporting;
  recovery_ = std::make_unique<CrashRecoveryManager>(recovery, logging);
}

void AudioRecordingManager::buildDelivery(const AudioRecordingHooks& hooks, const Logging& logging) {
  electronDetector_ = std::make_unique<ElectronAppDetector>(logging);
  AccessibilityHelperHooks helperHooks;
  helperHooks.isElectronEditor = [this](const QString& bundleId) {
    return electronDetector_->isElectronEditor(bundleId);
  };
  helperHooks.segmentText = hooks.segmentText;
  helperHooks.openUrl = hooks.openUrl;
  accessibilityHelper_ = std::make_unique<AccessibilityHelper>(
      AccessibilityHelperServices{ports_.pasteboard, ports_.keySynthesizer, ports_.workspace, ports_.accessibility,
                                  &services_.settings, services_.executor},
      std::move(helperHooks), logging);
  AutoPasteHandlerHooks pasteHooks;
  pasteHooks.suspendKeyMonitor = [this](bool isSuspended) { modifierMonitor_->setSuspended(isSuspended); };
  pasteHooks.showAlert = hooks.showAccessibilityAlert;
  autoPaste_ =
      std::make_unique<AutoPasteHandler>(*accessibilityHelper_, services_.executor, std::move(pasteHooks), logging);
  contextGatherer_ =
      std::make_unique<ApplicationContextGatherer>(ports_.workspace, ports_.accessibility, *electronDetector_);
  selectedTextReader_ =
      std::make_unique<SelectedTextReader>(ports_.workspace, ports_.accessibility, ports_.pasteboard, logging);
  selectedText_ = std::make_unique<SelectedTextService>(ports_.accessibility, *selectedTextReader_, logging);
}

void AudioRecordingManager::buildFlow(const AudioRecordingHooks& hooks, const Logging& logging) {
  RecordingTranscriptionFlowServices flow{services_.executor, *lifecycle_,      *session_,
                                          *deviceManager_,    *permission_,     *power_,
                                          *fileWatcher_,      *autoPaste_,      *accessibilityHelper_,
                                          *contextGatherer_,  *selectedText_,   services_.persistence,
                                          ports_.workspace,   services_.network};
  flow.vadProcessingService = &services_.vadProcessingService;
  flow.globalShortcuts = &ports_.shortcuts;
  flow.apiKeys = services_.apiKeys;
  flow.errorReporting = services_.errorReporting;
  flow.fileTags = services_.fileTags;
  flow.recoverRecordingsFolder = hooks.recoverRecordingsFolder;
  flow.transcriptionPipeline = &services_.pipeline;
  flow.transcriptionState = [&pipeline = services_.pipeline] { return pipeline.state().get(); };
  flow.settingsManager = &services_.settings;
  flow.appState = &services_.appState;
  flow_ = std::make_unique<RecordingTranscriptionFlow>(std::move(flow), logging);

  PushToTalk::Services pushToTalk{services_.executor, *this, *modifierMonitor_};
  pushToTalk.shortcuts = &ports_.shortcuts;
  pushToTalk.settings = &services_.settings;
  pushToTalk.appState = &services_.appState;
  pushToTalk.errorReporting = services_.errorReporting;
  pushToTalk.isTrustedForAccessibility = [this] { return accessibilityHelper_->isTrusted(); };
  pushToTalk.watchForAccessibility = [this] { accessibilityHelper_->startPermissionPolling(); };
  pushToTalk_ = std::make_unique<PushToTalk>(std::move(pushToTalk), logging);
}

// Most state is read where it arises; here is what has to be carried from one part to another.
void AudioRecordingManager::bindState() {
  const auto follow = [this](auto& published, auto observer) {
    subscriptions_.push_back(published.observe(std::move(observer)));
  };
  follow(lifecycle_->audioLevel(), [this](float level) { liveMetrics_.audioLevel.set(level); });
  follow(lifecycle_->recordingDuration(), [this](double seconds) { liveMetrics_.recordingDuration.set(seconds); });
  // Whoever ended it: neither a hold nor a lock outlives its recording.
  follow(lifecycle_->isRecording(), [this](bool isRecording) {
    if (!isRecording) modifierMonitor_->resetToIdle();
  });
  follow(permission_->errorMessage(), [this](const QString& message) { errorMessage_.set(message); });
  follow(permission_->hasMicrophonePermission(),
         [this](bool hasPermission) { lifecycle_->setHasMicrophonePermission(hasPermission); });
  follow(accessibilityHelper_->accessibilityPermissionGranted(), [this](bool isGranted) {
    if (isGranted && isConfigured_) configurePushToTalk();
  });
}

Task<void> AudioRecordingManager::configure() {
  deviceManager_->setOnSelectedDeviceInvalidated([this](const AudioDevice& lost) {
    logger_.info("Clearing persisted microphone preference for missing device: %{public}s", lost.name);
    services_.settings.audio().setSelectedMicrophoneId(QString());
  });
  auto waiting = deviceManager_->waitUntilReady();
  const bool isSoundServerThere = co_await std::move(waiting);
  deviceManager_->scanDevices(DeviceScanReason::initialBootstrap);
  if (isSoundServerThere) {
    auto restoring = restoreSavedMicrophone();
    co_await std::move(restoring);
  } else {
    // Without a sound server nobody knows whether the microphone is still there.
    untilDevicesCome_ = deviceManager_->availableDevices().observe([this](const std::vector<AudioDevice>&) {
      scope_.spawn(restoreSavedMicrophone());
      untilDevicesCome_.reset();
    });
  }
  followSettings();
  recorder_->prepare();
  auto connecting = waitForAccessibility();
  co_await std::move(connecting);
  isConfigured_ = true;
  configurePushToTalk();
  logger_.info("AudioRecordingManager configured with dependencies");
}

// At the start of a session its accessibility bus may need a moment; that is no missing permission yet.
Task<void> AudioRecordingManager::waitForAccessibility() {
  const auto key = PushToTalk::modifierOf(services_.settings.pushToTalkMode());
  if (!key || !modifierMonitor_->canSee(*key)) co_return;
  const TimePoint end = services_.executor.now() + accessibilityPatience;
  while (!accessibilityHelper_->isTrusted() && services_.executor.now() < end) co_await sleepFor(accessibilityPace);
}

const AudioDevice* AudioRecordingManager::attachedDevice(const QString& idOrUid) {
  const auto& devices = availableDevices().get();
  const auto found = std::find_if(devices.begin(), devices.end(), [&](const AudioDevice& device) {
    return device.id == idOrUid || device.uid == idOrUid;
  });
  return found == devices.end() ? nullptr : &*found;
}

Task<void> AudioRecordingManager::restoreSavedMicrophone() {
  const QString saved = services_.settings.audio().selectedMicrophoneId();
  if (saved.isEmpty()) co_return;
  const AudioDevice* const device = attachedDevice(saved);
  if (device == nullptr) {
    logger_.info("Saved microphone not found on launch, clearing preference: %{public}s", saved);
    services_.settings.audio().setSelectedMicrophoneId(QString());
    co_return;
  }
  logger_.info("Restoring saved microphone selection on launch: %{public}s", device->name);
  auto selecting = deviceManager_->selectDevice(*device);
  co_await std::move(selecting);
}

void AudioRecordingManager::followSettings() {
  if (defaultsObserver_) services_.defaults.removeObserver(*defaultsObserver_);
  defaultsObserver_ = services_.defaults.addObserver([this](const QString& key) { settingChanged(key); });
}

void AudioRecordingManager::settingChanged(const QString& key) {
  // Only what concerns it: setting push-to-talk up anew would lose the release of a key that is held.
  if (PushToTalk::isConcernedBy(key)) configurePushToTalk();
  if (key != QLatin1String("selectedMicrophoneId")) return;
  const QString chosen = services_.settings.audio().selectedMicrophoneId();
  if (chosen.isEmpty())
    setSelectedDevice(std::nullopt);
  else if (const AudioDevice* const device = attachedDevice(chosen))
    setSelectedDevice(*device);
}

void AudioRecordingManager::toggleRecording(std::optional<QString> modeName, bool stopOnly,
                                            RecordingTriggerSource trigger) {
  flow_->toggleRecording(std::move(modeName), stopOnly, trigger);
}

void AudioRecordingManager::cancelFromShortcut() {
  flow_->cancelFromShortcut();
}

Task<void> AudioRecordingManager::retryPendingTranscription() {
  return flow_->retryPendingTranscription();
}

Task<void> AudioRecordingManager::shutDown() {
  return flow_->shutDown();
}

void AudioRecordingManager::configurePushToTalk() {
  pushToTalk_->configure();
}

void AudioRecordingManager::setPedalMonitoring(PedalMonitoring pedal) {
  pushToTalk_->setPedalMonitoring(std::move(pedal));
}

void AudioRecordingManager::setSelectedDevice(const std::optional<AudioDevice>& device) {
  if (device == selectedDevice().get()) return;
  scope_.spawn(deviceManager_->selectDevice(device));
}

bool AudioRecordingManager::isRecordingNow() const {
  return lifecycle_->isRecording().get();
}

double AudioRecordingManager::liveRecordingDuration() const {
  return liveMetrics_.recordingDuration.get();
}

Published<bool>& AudioRecordingManager::isRecording() {
  return lifecycle_->isRecording();
}

Published<std::vector<AudioDevice>>& AudioRecordingManager::availableDevices() {
  return deviceManager_->availableDevices();
}

Published<std::optional<AudioDevice>>& AudioRecordingManager::selectedDevice() {
  return deviceManager_->selectedDevice();
}

Published<std::optional<float>>& AudioRecordingManager::inputVolumeScalar() {
  return deviceManager_->inputVolumeScalar();
}

Published<QString>& AudioRecordingManager::activeInputDeviceName() {
  return deviceManager_->activeInputDeviceName();
}

Published<std::optional<QString>>& AudioRecordingManager::activeInputDeviceIdentifier() {
  return deviceManager_->activeInputDeviceIdentifier();
}

Published<std::optional<QString>>& AudioRecordingManager::systemDefaultDeviceUID() {
  return deviceManager_->systemDefaultDeviceUID();
}

Published<bool>& AudioRecordingManager::hasMicrophonePermission() {
  return permission_->hasMicrophonePermission();
}

Published<bool>& AudioRecordingManager::showPermissionDeniedAlert() {
  return permission_->showPermissionDeniedAlert();
}

Published<std::optional<QString>>& AudioRecordingManager::lastRecordingURL() {
  return lifecycle_->lastRecordingURL();
}

}  // namespace quillmere
