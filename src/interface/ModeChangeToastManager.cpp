#include "interface/ModeChangeToastManager.h"

namespace quillmere {

void ModeChangeToastManager::show(const QString& modeName) {
  executor_.cancelTimer(timer_);
  timer_ = executor_.startTimer(std::chrono::milliseconds(1500), [this] { hide(); });
  panel_.show({ToastContent::Kind::mode, modeName}, [this] { hide(); });
}

void ModeChangeToastManager::hide() {
  if (timer_ == 0) return;
  executor_.cancelTimer(timer_);
  timer_ = 0;
  panel_.hide();
}

}  // namespace quillmere
