#include "interface/InlineErrorToastManager.h"

#include <algorithm>

#include "base/text/Graphemes.h"

namespace quillmere {
using namespace std::chrono_literals;

InlineErrorToastManager::InlineErrorToastManager(ToastPanel& panel, Executor& executor)
    : panel_(panel), executor_(executor) {}

InlineErrorToastManager::~InlineErrorToastManager() {
  dismiss();
}

Duration InlineErrorToastManager::readingTime(const QString& message, bool isCritical) {
  // 15 characters a second, and the time to look up.
  const Duration time = 2s + graphemeCount(message) * Duration(1s) / 15;
  return std::clamp<Duration>(isCritical ? time + 4s : time, isCritical ? 8s : 4s, 15s);
}

void InlineErrorToastManager::showToast(const QString& message, bool isCritical) {
  executor_.cancelTimer(timer_);
  timer_ = executor_.startTimer(readingTime(message, isCritical), [this] { dismiss(); });
  panel_.show({isCritical ? ToastContent::Kind::critical : ToastContent::Kind::notice, message}, [this] { dismiss(); });
}

void InlineErrorToastManager::dismiss() {
  if (timer_ == 0) return;
  executor_.cancelTimer(timer_);
  timer_ = 0;
  panel_.hide();
}

}  // namespace quillmere
