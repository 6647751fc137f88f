#include "delivery/AccessibilityPermission.h"

#include <utility>

namespace quillmere {
namespace {

constexpr std::chrono::milliseconds pace{300};

}  // namespace

AccessibilityPermission::AccessibilityPermission(const Accessibility& accessibility, Executor& executor,
                                                 std::function<void()> openSettings, const Logging& logging)
    : accessibility_(accessibility),
      openSettings_(std::move(openSettings)),
      logger_(logging.logger(QStringLiteral("AccessibilityHelper"))),
      scope_(executor) {}

void AccessibilityPermission::openSettings() {
  if (openSettings_) openSettings_();
}

void AccessibilityPermission::logGuidance() {
  if (std::exchange(hasLoggedGuidance_, true)) return;
  logger_.warning("⚠️ Other programs can't be read: the accessibility bus does not answer");
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
