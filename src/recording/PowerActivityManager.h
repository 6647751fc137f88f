#pragma once
#include <QString>
#include <memory>

#include "base/log/Logger.h"
#include "ports/PowerActivity.h"

namespace quillmere {

// Keeps the machine awake between begin() and end(). Main thread.
class PowerActivityManager {
 public:
  PowerActivityManager(PowerActivity& power, const Logging& logging);

  // Nothing happens while an activity is on.
  void begin(const QString& reason);
  void end();
  bool isActive() const { return powerActivity_ != nullptr; }

 private:
  PowerActivity& power_;
  Logger log_;
  std::unique_ptr<PowerActivity::Token> powerActivity_;
};

}  // namespace quillmere
