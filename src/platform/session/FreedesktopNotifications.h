#pragma once
#include <optional>

#include "platform/session/BusConnection.h"
#include "ports/DesktopNotifications.h"

namespace quillmere {

// The desktop's notification service on the session bus. The bus outlives it.
class FreedesktopNotifications final : public DesktopNotifications {
 public:
  explicit FreedesktopNotifications(BusConnection& sessionBus) : bus_(sessionBus) {}
  Task<bool> show(Content content) override;

 private:
  BusConnection& bus_;
  std::optional<bool> readsMarkup_;  // nothing: not asked yet
  uint shown_ = 0;                   // the service's number of the last one
};

}  // namespace quillmere
