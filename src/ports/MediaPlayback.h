#pragma once
#include "base/async/Task.h"

namespace quillmere {

// The media players of the desktop session. Main thread; each call ends within 1 s and never fails: a player that
// doesn't answer is left out.
class MediaPlayback {
 public:
  virtual ~MediaPlayback() = default;
  virtual void startListening() = 0;
  // Pauses every player that plays; gives their number. They are remembered for play().
  virtual Task<int> pause() = 0;
  // Resumes exactly the players that pause() stopped and that are still paused.
  virtual Task<void> play() = 0;
};

}  // namespace quillmere
