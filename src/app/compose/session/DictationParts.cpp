#include "app/compose/session/DictationParts.h"

#include "app/compose/Services.h"
#include "app/compose/session/SoundPorts.h"
#include "context/ApplicationContextGatherer.h"
#include "context/ElectronAppDetector.h"
#include "context/SelectedTextReader.h"
#include "context/SelectedTextService.h"
#include "delivery/AccessibilityPermission.h"
#include "recording/AudioSessionManager.h"
#include "recording/FileWatcher.h"
#include "recording/RecordingEnvironment.h"
#include "recording/RecordingFinisher.h"

namespace quillmere {
namespace {

void buildRecording(DictationParts& p, Services& base, SoundPorts& sound) {
  const Logging& logging = base.logging;
  ErrorReporting* const reporting = base.appLogger.get();
  AudioSettingsManager& audio = base.settings->audio();
  p.permission = std::make_unique<MicrophonePermissionManager>(*sound.microphoneAuthorization, reporting);
  p.devices = std::make_unique<AudioDeviceManager>(*sound.devices, audio, *base.executor, reporting, logging);
  p.sessions = std::make_unique<RecordingSessionManager>(*base.persistence, *base.clock, *sound.processLocks, logging);
  p.recorder = std::make_unique<SimpleRecorder>(*sound.recorders, *base.executor, logging);
  p.audioSession =
      std::make_unique<AudioSessionManager>(*sound.outputVolume, *sound.mediaPlayback, *base.clock, logging);
  RecordingEnvironment::Dependencies environment{*base.executor,  *sound.devices, *sound.outputVolume,
                                                 *p.audioSession, audio,          *sound.processLocks};
  p.environment = std::make_unique<RecordingEnvironment>(environment, logging);
  const RecordingFinisher::Dependencies finisher{*base.audio.fileConverter, *base.ports.mediaReaders, *p.sessions,
                                                 *base.persistence, reporting};
  p.finisher = std::make_unique<RecordingFinisher>(finisher, logging);
  RecordingLifecycle::Dependencies lifecycle{*base.executor, *base.clock, *p.recorder,    *p.devices, *p.sessions,
                                             *p.environment, *p.finisher, *base.settings, reporting};
  p.lifecycle = std::make_unique<RecordingLifecycle>(lifecycle, logging);
  p.fileWatcher = std::make_unique<FileWatcher>(*sound.fileEvents, reporting, logging);
  p.power = std::make_unique<PowerActivityManager>(*sound.powerActivity, logging);
  CrashRecoveryManager::Dependencies recovery{
      *base.persistence,        *p.sessions, *sound.processLocks,      *base.audio.fileConverter,
      *base.ports.mediaReaders, *base.clock, base.settings->storage(), reporting};
  p.recovery = std::make_unique<CrashRecoveryManager>(recovery, logging);
}

void buildDelivery(DictationParts& p, Services& base, DisplayPorts& display, const DictationHooks& hooks) {
  const Logging& logging = base.logging;
  p.electronDetector = std::make_unique<ElectronAppDetector>(logging);
  p.accessibilityPermission = std::make_unique<AccessibilityPermission>(*display.accessibility, *base.executor,
                                                                        hooks.openAccessibilitySettings, logging);
  AutoPasteHandlerHooks pasteHooks;
  pasteHooks.paste.isElectronEditor = [&detector = *p.electronDetector](const QString& bundleId) {
    return detector.isElectronEditor(bundleId);
  };
  pasteHooks.paste.segmentText = hooks.segmentText;
  pasteHooks.suspendKeyMonitor = [&monitor = *p.modifierMonitor](bool isSuspended) {
    monitor.setSuspended(isSuspended);
  };
  pasteHooks.showAlert = hooks.showAccessibilityAlert;
  const AutoPasteServices services{*display.pasteboard,    *display.keySynthesizer,    *display.workspace,
                                   *display.accessibility, *p.accessibilityPermission, base.settings.get(),
                                   *base.executor};
  p.autoPaste = std::make_unique<AutoPasteHandler>(services, std::move(pasteHooks), logging);
  p.contextGatherer =
      std::make_unique<ApplicationContextGatherer>(*display.workspace, *display.accessibility, *p.electronDetector);
  p.selectedTextReader =
      std::make_unique<SelectedTextReader>(*display.workspace, *display.accessibility, *display.pasteboard, logging);
  p.selectedText = std::make_unique<SelectedTextService>(*display.accessibility, *p.selectedTextReader, logging);
}

void buildFlow(DictationParts& p, Services& base, DisplayPorts& display, const DictationHooks& hooks) {
  DictationServices flow{*base.executor,
                         *base.appState,
                         *p.lifecycle,
                         *p.sessions,
                         *p.devices,
                         *p.permission,
                         *p.power,
                         *p.fileWatcher,
                         *p.autoPaste,
                         *p.contextGatherer,
                         *p.selectedText,
                         *base.persistence,
                         *base.settings,
                         *display.workspace,
                         *base.transcription->road,
                         *base.transcription->router,
                         *display.shortcuts,
                         *base.appLogger};
  flow.recoverRecordingsFolder = hooks.recoverRecordingsFolder;
  p.flow = std::make_unique<RecordingTranscriptionFlow>(std::move(flow), base.logging);
  p.waitingText = std::make_unique<WaitingText>(*base.appState, *p.autoPaste, *display.workspace, *base.executor);

  PushToTalk::Services pushToTalk{*base.executor, *p.flow, *p.modifierMonitor};
  pushToTalk.shortcuts = display.shortcuts.get();
  pushToTalk.settings = base.settings.get();
  pushToTalk.appState = base.appState.get();
  pushToTalk.errorReporting = base.appLogger.get();
  pushToTalk.isTrustedForAccessibility = [&permission = *p.accessibilityPermission] { return permission.isTrusted(); };
  pushToTalk.watchForAccessibility = [&permission = *p.accessibilityPermission] { permission.startPolling(); };
  p.pushToTalk = std::make_unique<PushToTalk>(std::move(pushToTalk), base.logging);
  const AudioRecordingManager::Parts manager{
      *base.executor, *base.defaults, *base.settings,     *p.devices,    *p.permission,
      *p.recorder,    *p.lifecycle,   *p.modifierMonitor, *p.pushToTalk, *p.accessibilityPermission};
  p.manager = std::make_unique<AudioRecordingManager>(manager, base.logging);
}

}  // namespace

DictationParts::~DictationParts() = default;

std::unique_ptr<DictationParts> makeDictationParts(Services& base, SoundPorts& sound, DisplayPorts& display,
                                                   const DictationHooks& hooks) {
  auto parts = std::make_unique<DictationParts>();
  buildRecording(*parts, base, sound);
  parts->modifierMonitor =
      std::make_unique<BareModifierKeyMonitor>(*display.keyEvents, *base.executor, base.appLogger.get(), base.logging);
  buildDelivery(*parts, base, display, hooks);
  buildFlow(*parts, base, display, hooks);
  return parts;
}

}  // namespace quillmere
