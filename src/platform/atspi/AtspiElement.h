#pragma once
#include <QDBusPendingCall>
#include <optional>

#include "platform/atspi/AtspiReference.h"
#include "platform/atspi/AtspiRoles.h"
#include "ports/Accessibility.h"

namespace quillmere {

// An element of one visit, with what was read of it so far. A tree has one for every reference.
class AtspiElement final : public AccessibilityElement {
 public:
  enum class Kind { systemWide, application, object };

  AtspiElement(Kind itsKind, AtspiReference where) : kind(itsKind), reference(std::move(where)) {}

  const Kind kind;
  const AtspiReference reference;  // of an application: its root object; of the system-wide element: none

  // Read once; a read that failed is tried again.
  mutable std::optional<AtspiRole> role;
  mutable std::optional<AtspiStates> states;
  mutable std::optional<QStringList> interfaces;
  mutable std::optional<QMap<QString, QString>> attributes;
  mutable std::optional<bool> isHidden;  // shows other characters than it has
  // Asked for ahead, not read yet.
  mutable std::optional<QDBusPendingCall> roleCall;
  mutable std::optional<QDBusPendingCall> stateCall;
  mutable std::optional<QDBusPendingCall> interfaceCall;
  mutable std::optional<QDBusPendingCall> childrenCall;
};
using AtspiElementPtr = std::shared_ptr<const AtspiElement>;

}  // namespace quillmere
