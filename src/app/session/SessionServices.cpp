#include "app/session/SessionServices.h"

#include <QCoreApplication>

#include "app/composition.h"
#include "app/session/AbsentGlobalShortcuts.h"
#include "app/session/AbsentKeyEventMonitor.h"
#include "app/session/AbsentKeyInterceptor.h"
#include "app/session/AbsentKeySynthesizer.h"
#include "app/session/AbsentPasteboard.h"
#include "app/session/AbsentWorkspace.h"
#include "platform/atspi/AtspiAccessibility.h"
#include "platform/linux/ApplicationIdentity.h"
#include "platform/linux/FileLocks.h"
#include "platform/linux/InotifyFileEvents.h"
#include "platform/pulse/PulseAudioDevices.h"
#include "platform/pulse/PulseAudioRecorderFactory.h"
#include "platform/pulse/PulseConnection.h"
#include "platform/pulse/PulseMicrophoneAuthorization.h"
#include "platform/pulse/PulseOutputVolume.h"
#include "platform/session/MprisMediaPlayback.h"
#include "platform/session/SessionPowerActivity.h"
#include "platform/x11/X11GlobalShortcuts.h"
#include "platform/x11/X11KeyEventMonitor.h"
#include "platform/x11/X11KeyInterceptor.h"
#include "platform/x11/X11KeySynthesizer.h"
#include "platform/x11/X11Pasteboard.h"
#include "platform/x11/X11Workspace.h"

namespace quillmere {
namespace {

void buildSound(SessionServices& s, Services& base) {
  s.busWorkers = std::make_unique<WorkerPool>(1, QStringLiteral("bus"));
  s.sessionBus = std::make_unique<BusConnection>(*base.executor, *s.busWorkers, BusConnection::sessionBus());
  s.systemBus = std::make_unique<BusConnection>(*base.executor, *s.busWorkers, BusConnection::systemBus());
  s.pulse = std::make_unique<PulseConnection>(*base.executor, base.logging);
  auto devices = std::make_unique<PulseAudioDevices>(*s.pulse);
  s.recorders = std::make_unique<PulseAudioRecorderFactory>(*s.pulse, *devices);
  s.outputVolume = std::make_unique<PulseOutputVolume>(*s.pulse);
  s.microphoneAuthorization = std::make_unique<PulseMicrophoneAuthorization>(*s.pulse, *devices);
  s.devices = std::move(devices);
  s.mediaPlayback = std::make_unique<MprisMediaPlayback>(*s.sessionBus);
  s.powerActivity = std::make_unique<SessionPowerActivity>(*s.systemBus, *s.sessionBus);
  s.fileEvents = std::make_unique<InotifyFileEvents>();
  s.processLocks = std::make_unique<FileLocks>(base.paths.dataFolder + QStringLiteral("/locks"));
}

// The parts of the display, all or none of them.
void buildDisplay(SessionServices& s, Services& base, const SessionOptions& options) {
  auto workspace = X11Workspace::open(
      [](const QString& windowClass, const QString& instance) {
        return applicationIdentity::bundleIdOfWindow(windowClass, instance);
      },
      QCoreApplication::applicationPid(), options.hideWindows);
  auto pasteboard = X11Pasteboard::open(*base.executor);
  auto keys = X11KeySynthesizer::open();
  s.isDisplayed = workspace && pasteboard;
  if (!s.isDisplayed) {
    s.workspace = std::make_unique<AbsentWorkspace>();
    s.pasteboard = std::make_unique<AbsentPasteboard>();
  } else {
    s.workspace = std::move(*workspace);
    s.pasteboard = std::move(*pasteboard);
  }
  if (s.isDisplayed && keys)
    s.keySynthesizer = std::move(*keys);
  else
    s.keySynthesizer = std::make_unique<AbsentKeySynthesizer>();
  if (s.isDisplayed && options.hasTriggers) {
    s.keyEvents = std::make_unique<X11KeyEventMonitor>();
    s.shortcuts = std::make_unique<X11GlobalShortcuts>(base.logging);
    s.keyInterceptor = std::make_unique<X11KeyInterceptor>();
  } else {
    s.keyEvents = std::make_unique<AbsentKeyEventMonitor>();
    s.shortcuts = std::make_unique<AbsentGlobalShortcuts>();
    s.keyInterceptor = std::make_unique<AbsentKeyInterceptor>();
  }
}

void buildAccessibility(SessionServices& s, Services& base, const SessionOptions& options) {
  Workspace& workspace = *s.workspace;
  AtspiAccessibility::Options accessibility;
  accessibility.enablesToolkits = options.hasTriggers;
  accessibility.frontmostProcessId = [&workspace]() -> std::optional<qint64> {
    if (const auto application = workspace.frontmostApplication()) return application->processId;
    return std::nullopt;
  };
  auto atspi = std::make_unique<AtspiAccessibility>(*base.executor, std::move(accessibility), base.logging);
  atspi->start();
  s.accessibility = std::move(atspi);
}

void buildRecording(SessionServices& s, Services& base, AudioRecordingHooks hooks) {
  const AudioRecordingPorts ports{
      *s.recorders,     *s.devices,    *s.outputVolume, *s.mediaPlayback, *s.microphoneAuthorization,
      *s.powerActivity, *s.fileEvents, *s.workspace,    *s.pasteboard,    *s.keySynthesizer,
      *s.accessibility, *s.keyEvents,  *s.shortcuts,    *s.processLocks};
  AudioRecordingServices services{
      *base.executor, *base.clock,         *base.defaults,      *base.settings,           *base.persistence,
      *base.appState, *base.pipeline,      *base.mediaReaders,  *base.audioFileConverter, *base.vadProcessingService,
      *base.network,  base.paths.standard, base.appLogger.get()};
  s.audioManager = std::make_unique<AudioRecordingManager>(ports, services, std::move(hooks), base.logging);
}

}  // namespace

SessionServices::~SessionServices() = default;

void prepareRecordingsFolder(StorageSettingsManager& storage) {
  storage.ensureRecordingsFolder();
  if (storage.showDocumentsPermissionAlert()) storage.confirmDocumentsAccess();
}

std::unique_ptr<SessionServices> makeSessionServices(Services& services, const SessionOptions& options) {
  auto session = std::make_unique<SessionServices>();
  buildSound(*session, services);
  buildDisplay(*session, services, options);
  buildAccessibility(*session, services, options);
  if (services.persistence) buildRecording(*session, services, options.hooks);
  return session;
}

}  // namespace quillmere
