#include "recording/PowerActivityManager.h"

namespace quillmere {

PowerActivityManager::PowerActivityManager(PowerActivity& power, const Logging& logging)
    : power_(power), log_(logging.logger(QStringLiteral("PowerActivityManager"))) {}

void PowerActivityManager::begin(const QString& reason) {
  if (powerActivity_) return;
  powerActivity_ = power_.begin(reason);
  log_.info("🔋 Began power activity: %s", reason);
}

void PowerActivityManager::end() {
  if (!powerActivity_) return;
  powerActivity_.reset();
  log_.info("🔋 Ended power activity");
}

}  // namespace quillmere
