#pragma once
#include "platform/session/BusConnection.h"
#include "ports/AccessibilitySwitch.h"

namespace quillmere {

// "org.a11y.Status" on the session bus: toolkits look at it when they start, and most follow its changes. The bus
// outlives it.
class SessionAccessibilitySwitch final : public AccessibilitySwitch {
 public:
  explicit SessionAccessibilitySwitch(BusConnection& sessionBus) : bus_(sessionBus) {}
  Task<std::optional<State>> state() override;
  Task<bool> turn(bool isOn) override;

 private:
  BusConnection& bus_;
};

}  // namespace quillmere
