#include "app/windows/DesktopNotices.h"

namespace quillmere {
namespace {

constexpr size_t keptMessages = 4;

}  // namespace

void DesktopNotices::showToast(const QString& message, bool isCritical) {
  if (target_) {
    target_->showToast(message, isCritical);
    return;
  }
  if (waiting_.size() == keptMessages) waiting_.erase(waiting_.begin());
  waiting_.emplace_back(message, isCritical);
}

void DesktopNotices::setTarget(UserNotices* target) {
  target_ = target;
  if (!target_) return;
  for (const auto& [message, isCritical] : std::exchange(waiting_, {})) target_->showToast(message, isCritical);
}

}  // namespace quillmere
