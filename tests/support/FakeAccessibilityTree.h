#pragma once
#include <QStringList>
#include <optional>

#include "support/FakeAccessibilityNode.h"

namespace quillmere {

// A tree over nodes that the test put together. Counts the reads; after `readsUntilOutOfTime` of them the time is up.
class FakeAccessibilityTree final : public AccessibilityTree {
 public:
  FakeAccessibilityNode::Ptr systemWide = node();
  QMap<qint64, FakeAccessibilityNode::Ptr> applications;
  std::optional<int> readsUntilOutOfTime;
  int reads = 0;
  QStringList performedActions;

  AccessibilityElementPtr systemWideElement() override { return systemWide; }
  AccessibilityElementPtr applicationElement(qint64 processId) override { return applications.value(processId); }

  std::optional<QString> text(const AccessibilityElementPtr& element, const QString& attribute) override {
    const auto* const at = read(element);
    if (!at || !at->texts.contains(attribute)) return std::nullopt;
    return at->texts.value(attribute);
  }
  AccessibilityElementPtr element(const AccessibilityElementPtr& element, const QString& attribute) override {
    const auto* const at = read(element);
    return at ? at->elements.value(attribute) : nullptr;
  }
  std::vector<AccessibilityElementPtr> elements(const AccessibilityElementPtr& element, const QString& attribute,
                                                int limit) override {
    std::vector<AccessibilityElementPtr> found;
    if (const auto* const at = read(element))
      for (const auto& each : at->lists.value(attribute))
        if (int(found.size()) < limit) found.push_back(each);
    return found;
  }
  bool isAttributeSettable(const AccessibilityElementPtr& element, const QString& attribute) override {
    const auto* const at = read(element);
    return at && at->settableAttributes.contains(attribute);
  }
  bool performAction(const AccessibilityElementPtr& element, const QString& action) override {
    const auto* const at = read(element);
    if (!at || !at->actions.contains(action)) return false;
    performedActions.append(action);
    return at->actions.value(action)();
  }
  std::optional<QRect> caret(const AccessibilityElementPtr& element) override {
    const auto* const at = read(element);
    return at ? at->caret : std::nullopt;
  }
  bool isOutOfTime() const override { return readsUntilOutOfTime && reads >= *readsUntilOutOfTime; }

 private:
  const FakeAccessibilityNode* read(const AccessibilityElementPtr& element) {
    if (isOutOfTime()) return nullptr;
    ++reads;
    return static_cast<const FakeAccessibilityNode*>(element.get());
  }
};

}  // namespace quillmere
