#pragma once
#include <QString>

#include "base/Published.h"
#include "base/async/TaskScope.h"
#include "base/log/Logger.h"
#include "ports/AudioRecorder.h"

namespace quillmere {

// Listens to the microphone that recordings take without keeping anything, so that its level can be shown. Main thread.
// The factory and the executor outlive it; its death ends the listening.
class MicrophoneProbe {
 public:
  MicrophoneProbe(AudioRecorderFactory& recorders, Executor& executor, const Logging& logging);

  // Goes on until stop(); what can't be had is tried again every two seconds. A repeat does nothing.
  void start();
  void stop();
  bool isRunning() const { return isRunning_; }

  // 0 to 1, every 33 ms.
  Published<float>& level() { return level_; }
  // Why nothing can be heard, as a sentence; empty while all is well.
  Published<QString>& problem() { return problem_; }

 private:
  Task<void> listen();
  Task<bool> listenOnce();

  AudioRecorderFactory& recorders_;
  Executor& executor_;
  Logging logging_;
  Published<float> level_;
  Published<QString> problem_;
  bool isRunning_ = false;
  TaskHandle<void> listening_;
  TaskScope scope_;  // last: its tasks use the fields above
};

}  // namespace quillmere
