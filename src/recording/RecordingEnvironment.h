#pragma once
#include <memory>

#include "base/async/Completion.h"
#include "base/async/SerialGate.h"
#include "base/async/TaskScope.h"
#include "base/log/Logger.h"
#include "ports/AudioDevices.h"
#include "recording/AudioSessionManager.h"
#include "recording/BorrowedVolumes.h"

namespace quillmere {

// What a recording changes for others, and giving it back: what other programs play is muted or paused, and the
// microphone in use is turned to 90 %, as the settings say. Volumes go back to the devices that they were taken from:
// at the end of the recording; after a crash at the next start of a program; to a device that is away when it is back.
// Main thread; nothing in here stops a recording. Its death leaves changed what is changed, for the next start.
class RecordingEnvironment {
 public:
  struct Dependencies {
    Executor& executor;
    AudioDevices& devices;
    OutputVolume& outputVolume;
    AudioSessionManager& audioSessionManager;
    AudioSettingsManager& settings;
    ProcessLocks& locks;
  };
  // What one recording has changed, with the work that may still be under way.
  struct Changes;

  // Begins to give back what ended processes left.
  RecordingEnvironment(Dependencies dependencies, const Logging& logging);
  ~RecordingEnvironment();

  // Begins the changes of one recording; giveBack() is due for them.
  std::shared_ptr<Changes> change();
  // Returns when nothing is heard any more that should be muted, after 300 ms at the latest. A cancel ends the wait
  // only.
  Task<void> waitUntilQuiet(std::shared_ptr<Changes> changes);
  // Undoes also what is still under way; resolved at the end. `pass` is let go of then: whoever waits for it never
  // takes a muted output for the user's own volume.
  Completion<void> giveBack(std::shared_ptr<Changes> changes, SerialGate::Pass pass);

 private:
  Task<void> controlMedia(std::shared_ptr<Changes> changes, MediaControlMode mode);
  Task<void> mute(std::shared_ptr<Changes> changes);
  Task<void> increaseMicVolume(std::shared_ptr<Changes> changes);
  Task<void> undo(std::shared_ptr<Changes> changes, SerialGate::Pass pass);
  Task<void> giveBackAbandoned();
  Task<bool> isSettled(BorrowedVolume volume);
  std::optional<BorrowedVolume> microphoneInUse() const;

  Dependencies use_;
  Logger log_;
  BorrowedVolumes borrowed_;
  SerialGate volumeGate_;  // one at a time decides about volumes
  Subscription deviceChanges_;
  TaskScope scope_;
};

}  // namespace quillmere
