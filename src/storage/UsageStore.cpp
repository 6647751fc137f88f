#include "storage/UsageStore.h"

#include "storage/ObjectContext.h"
#include "storage/Store.h"

namespace quillmere {

std::shared_ptr<UsageTracking> UsageStore::findUsageTracking() {
  if (const auto& pending = store_.context().registry().inserted<UsageTracking>(); !pending.empty())
    return pending.front();
  const auto rows =
      store_.valueOrReport(store_.context().fetch<UsageTracking>("ORDER BY pk LIMIT 1"),
                           "Failed to fetch usage tracking: %{public}@", "Failed to fetch usage tracking");
  return rows.empty() ? nullptr : rows.front();
}

std::shared_ptr<UsageTracking> UsageStore::getOrCreateUsageTracking() {
  if (auto usage = findUsageTracking()) return usage;
  std::shared_ptr<UsageTracking> created;
  store_.change([&] {
    created = findUsageTracking();  // another process may have been faster
    if (created) return;
    UsageTracking usage;
    usage.id = QUuid::createUuid();
    usage.dailyTranscriptionSeconds = 0;
    usage.totalModelsDownloaded = qint16{0};
    usage.lastResetDate = usage.firstUsageDate = store_.clock().now();
    created = store_.context().insert(std::move(usage));
  });
  return created;
}

bool UsageStore::isToday(const std::optional<QDateTime>& date) const {
  return date && date->toTimeZone(calendar_).date() == store_.clock().now().toTimeZone(calendar_).date();
}

void UsageStore::rollOver(UsageTracking& usage) const {
  if (isToday(usage.lastResetDate)) return;
  usage.dailyTranscriptionSeconds = 0;
  usage.lastResetDate = store_.clock().now();
}

void UsageStore::addTranscriptionUsage(qint64 seconds) {
  store_.changeInTime([this, seconds] {
    const auto usage = getOrCreateUsageTracking();
    rollOver(*usage);
    usage->dailyTranscriptionSeconds = usage->dailyTranscriptionSeconds.value_or(0) + seconds;
  });
}

qint64 UsageStore::todaysTranscriptionSeconds() {
  const auto usage = getOrCreateUsageTracking();
  if (isToday(usage->lastResetDate)) return usage->dailyTranscriptionSeconds.value_or(0);
  store_.changeInTime([this] { rollOver(*getOrCreateUsageTracking()); });
  return isToday(usage->lastResetDate) ? usage->dailyTranscriptionSeconds.value_or(0) : 0;
}

}  // namespace quillmere
