#include "storage/Store.h"

#include "base/async/Await.h"
#include "storage/ObjectContext.h"
#include "storage/ObserverList.h"

namespace quillmere {

namespace {

using namespace std::chrono_literals;

// Long enough for a usual write of another process, too short to be felt.
constexpr auto patience = 25ms;
constexpr auto patienceAtStartAndEnd = 10s;
constexpr Duration retryInterval = 50ms;
constexpr int retriesUntilReport = 600;

}  // namespace

struct Store::Observers : ObserverList<StoreChange> {};

Store::Store(std::unique_ptr<ObjectContext> context, Services services)
    : context_(std::move(context)), services_(std::move(services)), observers_(std::make_unique<Observers>()) {
  context_->setPatience(patienceAtStartAndEnd);
}

Store::~Store() {
  stopWaiting();
}

void Store::beginWork() {
  context_->setPatience(patience);
}

void Store::endWork() {
  if (!isWaitingForLock_) return;
  context_->setPatience(patienceAtStartAndEnd);
  save();
}

void Store::report(const QString& text, const PlatformError& error) {
  if (!services_.reporting || !services_.reporting->isEnabled()) return;
  ReportOptions options;
  options.message = text;
  services_.reporting->captureError(error, options);
}

void Store::reportFetchFailure(LogFormat<QString> logFormat, const QString& reportText, const PlatformError& error) {
  log().error(logFormat, error.description);
  report(reportText, error);
}

// --- saving

bool Store::finishSave(const Result<void, PlatformError>& saved) {
  if (!saved && isBusy(saved.error())) {
    waitForLock(saved.error());
    return false;
  }
  stopWaiting();
  isRefused_ = !saved;
  if (!saved) {
    log().error("Failed to save context: %{public}@", saved.error().description);
    report("Core Data save failed", saved.error());
    return false;
  }
  const ObjectContext::Written written = context_->takeWritten();
  if (!written.any()) return true;
  log().debug("Context saved successfully");
  observers_->tell(StoreChange{false, written.modes, written.transcripts, written.recordingSessions, written.vocabulary,
                               written.usageTracking});
  return true;
}

void Store::waitForLock(const PlatformError& error) {
  if (!std::exchange(isWaitingForLock_, true)) log().info("Another process writes, the changes wait for it");
  if (!services_.executor || retryTimer_) return;
  if (++retries_ == retriesUntilReport) {
    log().error("Failed to save context: %{public}@", error.description);
    report("Core Data save failed", error);
  }
  retryTimer_ = services_.executor->startTimer(retryInterval, [this] {
    retryTimer_.reset();
    save();
  });
}

void Store::stopWaiting() {
  if (const auto timer = std::exchange(retryTimer_, std::nullopt)) services_.executor->cancelTimer(*timer);
  isWaitingForLock_ = false;
  retries_ = 0;
}

bool Store::save() {
  if (beforeSave_) beforeSave_();
  return finishSave(context_->save());
}

Task<bool> Store::waitUntilSaved(Duration limit) {
  Executor& executor = co_await currentExecutor();
  const TimePoint end = executor.now() + limit;
  while (!save()) {
    if (isRefused_ || executor.now() >= end) co_return false;
    co_await sleepFor(retryInterval);
  }
  co_return true;
}

bool Store::hasChanges() const {
  return context_->hasChanges();
}

bool Store::change(const std::function<void()>& body, std::function<void()> recheck) {
  if (beforeSave_) beforeSave_();
  return finishSave(context_->transact(body, std::move(recheck)));
}

bool Store::changeInTime(std::function<void()> body) {
  if (beforeSave_) beforeSave_();
  return finishSave(context_->transactInTime(std::move(body)));
}

// --- watching

bool Store::refreshIfChanged() {
  const auto changed = context_->refreshIfChanged();
  if (!changed) {
    log().error("Failed to refresh objects: %{public}@", changed.error().description);
    report("Failed to refresh objects", changed.error());
    return false;
  }
  if (*changed) observers_->tell(StoreChange{true, true, true, true, true, true});
  return *changed;
}

Subscription Store::observeChanges(std::function<void(const StoreChange&)> observer) {
  return observers_->observe([observer = std::move(observer)](StoreChange change) { observer(change); });
}

}  // namespace quillmere
