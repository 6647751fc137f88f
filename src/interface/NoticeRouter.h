#pragma once
#include <functional>

#include "base/async/TaskScope.h"
#include "providers/UserNotices.h"

namespace quillmere {

class DesktopNotifications;
class ModeChangeToastManager;
class SettingsManager;

// Where short messages go: to toasts of our own beside the pill, and to the desktop's notifications where the user
// wants no pill. What the desktop does not take is shown as a toast all the same. Main thread; everything outlives it,
// the notifications may be null.
class NoticeRouter final : public UserNotices {
 public:
  NoticeRouter(UserNotices& toasts, ModeChangeToastManager& modeToasts, SettingsManager& settings,
               DesktopNotifications* notifications, Executor& executor);

  void showToast(const QString& message, bool isCritical) override;
  void showMode(const QString& name);

 private:
  void tell(const QString& message, bool isCritical, std::function<void()> toast);
  Task<void> notify(QString message, bool isCritical, std::function<void()> toast);

  UserNotices& toasts_;
  ModeChangeToastManager& modeToasts_;
  SettingsManager& settings_;
  DesktopNotifications* notifications_;
  TaskScope scope_;
};

}  // namespace quillmere
