#pragma once
#include <optional>

#include "base/log/Logger.h"
#include "ports/Accessibility.h"

namespace quillmere {

// Reads of the focused element, for the accessibility thread. They keep no state.

struct FocusQuery {
  std::optional<qint64> frontmostProcessId;
  QString frontmostBundleId;
};

// A focused element whose text must stay out of sight. A read that fails counts as not secure.
bool isSecureFieldFocused(AccessibilityTree& tree);

// Where the cursor stands in what has the keyboard, in the display's pixels.
std::optional<QRect> readCaret(AccessibilityTree& tree);

enum class FocusFinding {
  unreadable,  // nothing tells: no focused element, or a mere container
  noText,      // a button, a list, ...
  text
};

// Whether what has the keyboard takes text: the focused element, one of its descendants, or, when there is none, an
// element of the focused window or of the first windows of the frontmost application.
FocusFinding readFocus(AccessibilityTree& tree, const FocusQuery& query, const Logger& logger);

// The first editable element among `element` and its descendants; the first 25 children of each, `maxDepth` levels.
AccessibilityElementPtr findEditableElement(AccessibilityTree& tree, const AccessibilityElementPtr& element,
                                            int maxDepth, const Logger& logger, int depth = 0);

bool isEditableElement(AccessibilityTree& tree, const AccessibilityElementPtr& element, const Logger& logger);

}  // namespace quillmere
