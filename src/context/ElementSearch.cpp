#include "context/ElementSearch.h"

namespace quillmere {

template <typename Fits>
AccessibilityElementPtr ElementSearch::find(const AccessibilityElementPtr& element, int depth, const Fits& fits) {
  if (!element || depth < 1 || left_ <= 0 || tree_.isOutOfTime()) return nullptr;
  --left_;
  if (fits(element)) return element;
  if (depth == 1) return nullptr;
  for (const auto& child : tree_.elements(element, QStringLiteral("AXChildren"), left_))
    if (auto found = find(child, depth - 1, fits)) return found;
  return nullptr;
}

AccessibilityElementPtr ElementSearch::findElement(const AccessibilityElementPtr& element, const QString& role,
                                                   int depth) {
  return find(element, depth,
              [&](const AccessibilityElementPtr& each) { return tree_.text(each, QStringLiteral("AXRole")) == role; });
}

AccessibilityElementPtr ElementSearch::findEditable(const AccessibilityElementPtr& element, int depth) {
  return find(element, depth, [&](const AccessibilityElementPtr& each) {
    const auto role = tree_.text(each, QStringLiteral("AXRole"));
    return role == QStringLiteral("AXTextField") || role == QStringLiteral("AXTextArea") ||
           role == QStringLiteral("AXSearchField") || tree_.isAttributeSettable(each, QStringLiteral("AXValue"));
  });
}

}  // namespace quillmere
