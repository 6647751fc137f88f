#pragma once
#include <QTimeZone>
#include <memory>

#include "domain/Entities.h"

namespace quillmere {

class Store;

// What was transcribed today: one row. Main thread only; failures are told as PersistenceController says.
class UsageStore {
 public:
  // `calendar` decides where a day begins.
  UsageStore(Store& store, const QTimeZone& calendar) : store_(store), calendar_(calendar) {}

  std::shared_ptr<UsageTracking> getOrCreateUsageTracking();
  // Counted within a moment where another process writes just now, so that neither loses what the other counts.
  void addTranscriptionUsage(qint64 seconds);
  qint64 todaysTranscriptionSeconds();

 private:
  std::shared_ptr<UsageTracking> findUsageTracking();
  bool isToday(const std::optional<QDateTime>& date) const;
  void rollOver(UsageTracking& usage) const;

  Store& store_;
  QTimeZone calendar_;
};

}  // namespace quillmere
