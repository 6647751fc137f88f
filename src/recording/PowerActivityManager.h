#pragma once
#include <QString>
#include <memory>
#include <utility>

#include "base/log/Logger.h"
#include "ports/PowerActivity.h"

namespace quillmere {

// Keeps the machine awake as long as somebody holds it. Main thread.
class PowerActivityManager {
 public:
  // Lets go when it goes away. Move-only; the manager outlives it.
  class Hold {
   public:
    explicit Hold(PowerActivityManager& manager) : manager_(&manager) {}
    Hold(Hold&& other) noexcept : manager_(std::exchange(other.manager_, nullptr)) {}
    Hold& operator=(Hold&& other) noexcept;
    ~Hold() { release(); }

   private:
    void release();
    PowerActivityManager* manager_;
  };

  PowerActivityManager(PowerActivity& power, const Logging& logging);

  // The first of several gives the desktop its reason.
  [[nodiscard]] Hold hold(const QString& reason);
  bool isActive() const { return powerActivity_ != nullptr; }

 private:
  PowerActivity& power_;
  Logger log_;
  std::unique_ptr<PowerActivity::Token> powerActivity_;
  int holds_ = 0;
};

}  // namespace quillmere
