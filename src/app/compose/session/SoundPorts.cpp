#include "app/compose/session/SoundPorts.h"

#include "app/compose/Services.h"
#include "platform/linux/FileLocks.h"
#include "platform/linux/InotifyFileEvents.h"
#include "platform/pulse/PulseAudioDevices.h"
#include "platform/pulse/PulseAudioRecorderFactory.h"
#include "platform/pulse/PulseConnection.h"
#include "platform/pulse/PulseMicrophoneAuthorization.h"
#include "platform/pulse/PulseOutputVolume.h"
#include "platform/session/FreedesktopNotifications.h"
#include "platform/session/MprisMediaPlayback.h"
#include "platform/session/SessionAccessibilitySwitch.h"
#include "platform/session/SessionPowerActivity.h"

namespace quillmere {

SoundPorts::~SoundPorts() = default;

std::unique_ptr<SoundPorts> makeSoundPorts(Services& base) {
  auto ports = std::make_unique<SoundPorts>();
  SoundPorts& s = *ports;
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
  s.notifications = std::make_unique<FreedesktopNotifications>(*s.sessionBus);
  s.accessibilitySwitch = std::make_unique<SessionAccessibilitySwitch>(*s.sessionBus);
  s.fileEvents = std::make_unique<InotifyFileEvents>();
  s.processLocks = std::make_unique<FileLocks>(base.paths.dataFolder + QStringLiteral("/locks"));
  return ports;
}

}  // namespace quillmere
