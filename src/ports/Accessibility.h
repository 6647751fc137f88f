#pragma once
#include <QRect>
#include <QString>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/async/Executor.h"
#include "base/async/Task.h"

namespace quillmere {

// An element of another program's interface; means something only to the AccessibilityTree that gave it.
class AccessibilityElement {
 public:
  virtual ~AccessibilityElement() = default;
};
using AccessibilityElementPtr = std::shared_ptr<const AccessibilityElement>;

// Reads of one visit to other programs' interfaces. Attributes go by the names of the application tables: "AXRole",
// "AXSubrole", "AXTitle", "AXDescription", "AXRoleDescription", "AXValue", "AXSelectedText", "AXPlaceholderValue",
// "AXFocusedUIElement", "AXFocusedWindow", "AXWindows", "AXChildren", "AXEditableAncestor", "AXURL", "AXMenuBar",
// "AXIdentifier", "AXEnabled" ("true"/"false"), "AXMenuItemCmdChar". A read that fails, or that comes after the visit's
// time is up, gives nothing.
class AccessibilityTree {
 public:
  virtual ~AccessibilityTree() = default;
  virtual AccessibilityElementPtr systemWideElement() = 0;
  virtual AccessibilityElementPtr applicationElement(qint64 processId) = 0;
  virtual std::optional<QString> text(const AccessibilityElementPtr& element, const QString& attribute) = 0;
  virtual AccessibilityElementPtr element(const AccessibilityElementPtr& element, const QString& attribute) = 0;
  // At most `limit` of them.
  virtual std::vector<AccessibilityElementPtr> elements(const AccessibilityElementPtr& element,
                                                        const QString& attribute, int limit) = 0;
  virtual bool isAttributeSettable(const AccessibilityElementPtr& element, const QString& attribute) = 0;
  // "AXPress". False when the element can't do it.
  virtual bool performAction(const AccessibilityElementPtr& element, const QString& action) = 0;
  // Where the cursor stands in a text, in the display's pixels; none where nobody tells.
  virtual std::optional<QRect> caret(const AccessibilityElementPtr& element) = 0;
  virtual bool isOutOfTime() const = 0;
};

// The accessibility bus of the desktop session. Called on the main thread.
class Accessibility {
 public:
  virtual ~Accessibility() = default;
  // Whether other programs can be read at all.
  virtual bool isTrusted() const = 0;
  // Runs `work` on the accessibility thread with `limit` for all of its reads together, and returns when it has ended
  // or, should a program hang, when the limit is over by 100 ms; `work` then still runs there and must own what it
  // uses. False when it wasn't run to its end in time. A cancel returns at once.
  virtual Task<bool> visit(std::function<void(AccessibilityTree&)> work, Duration limit) = 0;
};

}  // namespace quillmere
