#include "delivery/AccessibilityConsent.h"

#include "storage/SettingsManager.h"

namespace quillmere {
namespace {

const QString wish = QStringLiteral("enableAccessibility");
const QString explained = QStringLiteral("hasCompletedOnboarding");
const QString ours = QStringLiteral("accessibilityWasSwitchedOn");

}  // namespace

AccessibilityConsent::AccessibilityConsent(AccessibilitySwitch& toolkits, const SettingsManager& settings,
                                           DefaultsStore& defaults, Executor& executor, const Logging& logging)
    : switch_(toolkits),
      settings_(settings),
      defaults_(defaults),
      logger_(logging.logger(QStringLiteral("AccessibilityHelper"))),
      scope_(executor) {}

AccessibilityConsent::~AccessibilityConsent() {
  if (isStarted_) defaults_.removeObserver(observer_);
}

void AccessibilityConsent::start() {
  if (std::exchange(isStarted_, true)) return;
  observer_ = defaults_.addObserver([this](const QString& key) {
    if (key == wish || key == explained) scope_.spawn(apply());
  });
  scope_.spawn(apply());
}

bool AccessibilityConsent::isWanted() const {
  return !isEnding_ && settings_.effectiveValue(wish).toBool() && settings_.effectiveValue(explained).toBool();
}

bool AccessibilityConsent::isOurs() const {
  return settings_.effectiveValue(ours).toBool();
}

Task<void> AccessibilityConsent::apply() {
  const SerialGate::Pass turn = co_await gate_.enter();
  if (!isWanted()) {
    co_await giveBack();
    co_return;
  }
  const auto state = co_await switch_.state();
  if (!state || state->isOn) co_return;
  defaults_.setValue(ours, true);
  const bool isDone = co_await switch_.turn(true);
  if (isDone)
    logger_.info("The desktop's accessibility is on while this program runs");
  else
    defaults_.remove(ours);
}

Task<void> AccessibilityConsent::giveBack() {
  if (!isOurs()) co_return;
  const auto state = co_await switch_.state();
  if (!state) co_return;  // the next run tries again
  if (state->isOn && !state->isScreenReaderOn) {
    const bool isDone = co_await switch_.turn(false);
    if (!isDone) co_return;
    logger_.info("The desktop's accessibility is off again");
  }
  defaults_.remove(ours);
}

Task<void> AccessibilityConsent::end() {
  isEnding_ = true;
  co_await apply();
}

}  // namespace quillmere
