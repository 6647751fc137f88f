#include "delivery/AccessibilityPermission.h"

#include <utility>

namespace quillmere {
namespace {

constexpr std::chrono::milliseconds pace{300};

}  // namespace

AccessibilityPermission::AccessibilityPermission(const Accessibility& accessibility, Executor& executor,
                                                 std::function<void(const QString& url)> openUrl,
                                                 const Logging& logging)
    : accessibility_(accessibility),
      openUrl_(std::move(openUrl)),
      logger_(logging.logger(QStringLiteral("AccessibilityHelper"))),
      scope_(executor) {}

void AccessibilityPermission::openSettings() {
  if (openUrl_)
    openUrl_(QStringLiteral("x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility"));
}

void AccessibilityPermission::logGuidance() {
  if (std::exchange(hasLoggedGuidance_, true)) return;
  logger_.warning("⚠️ App is NOT trusted. Check System Settings > Privacy & Security > Accessibility");
  logger_.warning("⚠️ Look for entries matching:");
  logger_.warning("   %{public}s", "Quillmere");
}

void AccessibilityPermission::startPolling() {
  if (polling_.isValid() && !polling_.isDone()) return;
  polling_ = scope_.spawn(poll());
}

Task<void> AccessibilityPermission::poll() {
  while (!accessibility_.isTrusted()) co_await sleepFor(pace);
  logger_.info("✅ Accessibility permission GRANTED! Posting notification...");
  isGranted_.set(true);
}

}  // namespace quillmere
