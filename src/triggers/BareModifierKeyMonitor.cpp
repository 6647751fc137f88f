#include "triggers/BareModifierKeyMonitor.h"

namespace quillmere {

BareModifierKeyMonitor::BareModifierKeyMonitor(KeyEventMonitor& keyboard, Executor& executor, ErrorReporting* reporting,
                                               const Logging& logging)
    : keyboard_(keyboard),
      executor_(executor),
      reporting_(reporting),
      logging_(logging),
      logger_(logging.logger(QStringLiteral("BareModifierKeyMonitor"))) {}

BareModifierKeyMonitor::~BareModifierKeyMonitor() {
  if (isMonitoring_) keyboard_.stop();
  for (const Executor::TimerId timer : timers_) executor_.cancelTimer(timer);
}

void BareModifierKeyMonitor::start(ModifierKey key) {
  if (isMonitoring_) stop();
  handle(Reducer::Start{key});
  isMonitoring_ = keyboard_.start(key, [this](const ModifierEvent& event) { handle(event); });
  if (isMonitoring_)
    logger_.info("BareModifierKeyMonitor started for %s using CGEventTap", rawValue(key));
  else
    logger_.error("BareModifierKeyMonitor: Failed to create CGEventTap - check Accessibility permissions");
}

void BareModifierKeyMonitor::stop() {
  if (std::exchange(isMonitoring_, false)) keyboard_.stop();
  handle(Reducer::Stop{});
}

void BareModifierKeyMonitor::setSuspended(bool isSuspended) {
  // Our own keystrokes may still be on their way.
  if (!isSuspended && isMonitoring_ && state_.isSuspended) keyboard_.catchUp();
  handle(Reducer::SetSuspended{isSuspended});
}

void BareModifierKeyMonitor::resetToIdle() {
  handle(Reducer::ResetToIdle{});
}

void BareModifierKeyMonitor::setDoublePressEnabled(bool isEnabled) {
  handle(Reducer::SetDoublePressEnabled{isEnabled});
}

void BareModifierKeyMonitor::handle(const Reducer::Event& event) {
  assertCurrent(executor_);
  Reducer::Step step = Reducer::step(state_, event, executor_.now());
  state_ = std::move(step.state);
  for (const Reducer::Effect& effect : step.effects) std::visit([this](const auto& what) { perform(what); }, effect);
}

void BareModifierKeyMonitor::perform(const Reducer::StartTimer& effect) {
  Executor::TimerId& timer = timers_[size_t(effect.timer)];
  executor_.cancelTimer(timer);
  timer = executor_.startTimer(effect.delay, [this, which = effect.timer] {
    timers_[size_t(which)] = 0;
    handle(Reducer::TimerFired{which});
  });
}

void BareModifierKeyMonitor::perform(const Reducer::CancelTimer& effect) {
  executor_.cancelTimer(std::exchange(timers_[size_t(effect.timer)], 0));
}

void BareModifierKeyMonitor::perform(const LogRecord& record) {
  if (logging_.sink()) logging_.sink()->write(record);
}

void BareModifierKeyMonitor::perform(const Breadcrumb& breadcrumb) {
  if (reporting_ && reporting_->isEnabled()) reporting_->addBreadcrumb(breadcrumb);
}

void BareModifierKeyMonitor::perform(Reducer::Signal signal) {
  std::function<void()> handler;
  switch (signal) {
    case Reducer::Signal::modifierDown:
      handler = onModifierDown_;
      break;
    case Reducer::Signal::modifierUp:
      handler = onModifierUp_;
      break;
    case Reducer::Signal::interferenceDetected:
      handler = onInterferenceDetected_;
      break;
  }
  if (handler) handler();
}

}  // namespace quillmere
