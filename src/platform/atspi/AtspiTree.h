#pragma once
#include "platform/atspi/AtspiFocus.h"
#include "platform/atspi/AtspiObjects.h"
#include "platform/atspi/AtspiText.h"
#include "ports/Accessibility.h"

namespace quillmere {

// One visit: attributes by the names of the application tables, read from the accessibility protocol.
// Accessibility thread.
class AtspiTree final : public AccessibilityTree {
 public:
  AtspiTree(AtspiBus& bus, AtspiCaller& caller, std::optional<qint64> frontmostProcessId);

  AccessibilityElementPtr systemWideElement() override;
  AccessibilityElementPtr applicationElement(qint64 processId) override;
  std::optional<QString> text(const AccessibilityElementPtr& element, const QString& attribute) override;
  AccessibilityElementPtr element(const AccessibilityElementPtr& element, const QString& attribute) override;
  std::vector<AccessibilityElementPtr> elements(const AccessibilityElementPtr& element, const QString& attribute,
                                                int limit) override;
  bool isAttributeSettable(const AccessibilityElementPtr& element, const QString& attribute) override;
  bool performAction(const AccessibilityElementPtr& element, const QString& action) override;
  std::optional<QRect> caret(const AccessibilityElementPtr& element) override;
  bool isOutOfTime() const override { return caller_.isOutOfTime(); }

 private:
  std::optional<QString> value(const AtspiElement& element);
  std::optional<QString> title(const AtspiElement& element);
  std::optional<QString> roleDescription(const AtspiElement& element);
  std::optional<QString> placeholder(const AtspiElement& element);
  std::optional<QString> url(const AtspiElement& element);
  std::optional<QString> identifier(const AtspiElement& element);
  std::optional<QString> menuItemCharacter(const AtspiElement& element);
  AtspiElementPtr focusedElement(const AtspiElement& element);
  AtspiElementPtr editableAncestor(const AtspiElement& element);
  AtspiElementPtr menuBar(const AtspiElement& application);
  AtspiElementPtr applicationOf(const AtspiElement& element);

  AtspiCaller& caller_;
  AtspiObjects objects_;
  AtspiText texts_;
  AtspiFocus focus_;
};

}  // namespace quillmere
