#pragma once
#include "base/async/Executor.h"
#include "interface/ToastPanel.h"

namespace quillmere {

// The name of the new mode, for a moment, after the user went on to it. Main thread. The panel outlives this object.
class ModeChangeToastManager {
 public:
  ModeChangeToastManager(ToastPanel& panel, Executor& executor) : panel_(panel), executor_(executor) {}
  ~ModeChangeToastManager() { hide(); }
  ModeChangeToastManager(const ModeChangeToastManager&) = delete;
  ModeChangeToastManager& operator=(const ModeChangeToastManager&) = delete;

  void show(const QString& modeName);
  void hide();

 private:
  ToastPanel& panel_;
  Executor& executor_;
  Executor::TimerId timer_ = 0;
};

}  // namespace quillmere
