#pragma once
#include "ports/Accessibility.h"

namespace quillmere {

// Walks down from an element, children in their order, the first hit winning. Bounded in depth (1 looks at the element
// alone) and in the number of elements looked at. Accessibility thread.
class ElementSearch {
 public:
  ElementSearch(AccessibilityTree& tree, int mostElements) : tree_(tree), left_(mostElements) {}

  AccessibilityElementPtr findElement(const AccessibilityElementPtr& element, const QString& role, int depth);
  // A text field, text area or search field, or whatever takes a value.
  AccessibilityElementPtr findEditable(const AccessibilityElementPtr& element, int depth);

 private:
  template <typename Fits>
  AccessibilityElementPtr find(const AccessibilityElementPtr& element, int depth, const Fits& fits);

  AccessibilityTree& tree_;
  int left_;
};

}  // namespace quillmere
