#pragma once
#include <optional>

#include "domain/ApplicationContext.h"
#include "ports/Accessibility.h"

// What is read of the frontmost application. Accessibility thread; what can't be read is absent.
namespace quillmere {

// The title of the page that the browser's window shows, cleaned.
std::optional<QString> readTabTitle(AccessibilityTree& tree, qint64 processId);

// The control that has the keyboard; when the application doesn't tell it, what its window holds.
FocusedElementInfo readFocusedElement(AccessibilityTree& tree, std::optional<qint64> processId);

}  // namespace quillmere
