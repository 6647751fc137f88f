#include "interface/NoticeRouter.h"

#include "base/text/LocalizedText.h"
#include "interface/ModeChangeToastManager.h"
#include "ports/DesktopNotifications.h"
#include "storage/SettingsManager.h"

namespace quillmere {

NoticeRouter::NoticeRouter(UserNotices& toasts, ModeChangeToastManager& modeToasts, SettingsManager& settings,
                           DesktopNotifications* notifications, Executor& executor)
    : toasts_(toasts), modeToasts_(modeToasts), settings_(settings), notifications_(notifications), scope_(executor) {}

void NoticeRouter::showToast(const QString& message, bool isCritical) {
  tell(message, isCritical, [this, message, isCritical] { toasts_.showToast(message, isCritical); });
}

void NoticeRouter::showMode(const QString& name) {
  tell(localizedText("tray.mode", name), false, [this, name] { modeToasts_.show(name); });
}

void NoticeRouter::tell(const QString& message, bool isCritical, std::function<void()> toast) {
  if (notifications_ == nullptr || settings_.general().showRecordingWindow())
    toast();
  else
    (void)scope_.spawn(notify(message, isCritical, std::move(toast)));
}

Task<void> NoticeRouter::notify(QString message, bool isCritical, std::function<void()> toast) {
  DesktopNotifications::Content content;
  content.text = message;
  content.isCritical = isCritical;
  auto telling = notifications_->show(std::move(content));
  const bool isShown = co_await std::move(telling);
  if (!isShown) toast();
}

}  // namespace quillmere
