#pragma once
#include <memory>

#include "app/compose/session/DictationParts.h"
#include "app/compose/session/DisplayPorts.h"
#include "app/compose/session/SoundPorts.h"

namespace quillmere {

struct Services;
class StorageSettingsManager;

// What a dictation needs of the desktop, over the services of every program; built in this order and taken down in the
// reverse one. Main thread. Without a display the parts that need one do nothing.
struct SessionServices {
  std::unique_ptr<SoundPorts> sound;
  DisplayPorts display;
  std::unique_ptr<DictationParts> dictation;  // needs the store; null without one
};

// Makes sure of a folder for recordings. Whoever starts a program here may write to Documents, so the explanation that
// the settings want to show first counts as read.
void prepareRecordingsFolder(StorageSettingsManager& storage);

// `services` outlives the result.
std::unique_ptr<SessionServices> makeSessionServices(Services& services, const DisplayPorts::Options& display,
                                                     const DictationHooks& hooks);

}  // namespace quillmere
