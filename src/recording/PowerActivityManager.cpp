#include "recording/PowerActivityManager.h"

namespace quillmere {

PowerActivityManager::PowerActivityManager(PowerActivity& power, const Logging& logging)
    : power_(power), log_(logging.logger(QStringLiteral("PowerActivityManager"))) {}

PowerActivityManager::Hold PowerActivityManager::hold(const QString& reason) {
  if (++holds_ == 1) {
    powerActivity_ = power_.begin(reason);
    log_.info("🔋 Began power activity: %s", reason);
  }
  return Hold(*this);
}

PowerActivityManager::Hold& PowerActivityManager::Hold::operator=(Hold&& other) noexcept {
  if (this == &other) return *this;
  release();
  manager_ = std::exchange(other.manager_, nullptr);
  return *this;
}

void PowerActivityManager::Hold::release() {
  PowerActivityManager* const manager = std::exchange(manager_, nullptr);
  if (manager == nullptr || --manager->holds_ > 0) return;
  manager->powerActivity_.reset();
  manager->log_.info("🔋 Ended power activity");
}

}  // namespace quillmere
