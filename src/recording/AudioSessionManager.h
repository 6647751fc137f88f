#pragma once
#include <functional>
#include <optional>

#include "base/Clock.h"
#include "base/async/Task.h"
#include "base/log/Logger.h"
#include "ports/MediaPlayback.h"
#include "ports/OutputVolume.h"
#include "recording/AudioEnvironmentState.h"

namespace quillmere {

// Silences what other programs play, and gives it back. Main thread; each call ends within about two seconds. Failures
// are logged and nothing more.
class AudioSessionManager {
 public:
  AudioSessionManager(OutputVolume& outputVolume, MediaPlayback& mediaPlayback, const Clock& clock,
                      const Logging& logging);

  // `claim` is asked before anything is changed: it gets what the default output stands at and says what is to be given
  // back to it later, or nothing to leave it alone. A state without an original level: nothing was muted.
  using Claim = std::function<std::optional<OutputLevel>(const OutputLevel& current)>;
  Task<AudioEnvironmentState> prepareMutedEnvironment(Claim claim);
  // Onto the output that was muted. False where that failed.
  Task<bool> restoreAudioEnvironment(AudioEnvironmentState state);
  Task<AudioEnvironmentState> pauseMedia();
  // Does nothing unless pauseMedia() came before.
  Task<void> resumeMedia(std::optional<AudioEnvironmentState> state);

 private:
  QString secondsSince(const QDateTime& time) const;

  OutputVolume& outputVolume_;
  MediaPlayback& mediaPlayback_;
  const Clock& clock_;
  Logger log_;
  bool isListening_ = false;
  bool didPauseMediaDuringRecording_ = false;
};

}  // namespace quillmere
