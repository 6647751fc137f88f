#include "delivery/FocusProbe.h"

#include "delivery/PasteTargets.h"

namespace quillmere {
namespace {

constexpr int childLimit = 25;
constexpr int windowLimit = 3;
constexpr int deepDepth = 5;
constexpr int plainDepth = 3;
// What the log calls a read without a result and one that came too late.
constexpr int noValueError = -25212;
constexpr int cannotCompleteError = -25204;

const QString& focusedElementName() {
  static const QString name = QStringLiteral("AXFocusedUIElement");
  return name;
}

}  // namespace

bool isSecureFieldFocused(AccessibilityTree& tree) {
  const auto focused = tree.element(tree.systemWideElement(), focusedElementName());
  return focused && tree.text(focused, QStringLiteral("AXSubrole")) == QStringLiteral("AXSecureTextField");
}

std::optional<QRect> readCaret(AccessibilityTree& tree) {
  const auto focused = tree.element(tree.systemWideElement(), focusedElementName());
  return focused ? tree.caret(focused) : std::nullopt;
}

FocusFinding readFocus(AccessibilityTree& tree, const FocusQuery& query, const Logger& logger) {
  logger.info("🔍 Checking if text input is focused...");
  const auto systemWide = tree.systemWideElement();
  if (const auto focused = tree.element(systemWide, focusedElementName())) {
    if (isEditableElement(tree, focused, logger)) return FocusFinding::text;
    const int depth = pasteTargets::isDeepFocusEditor(query.frontmostBundleId) ? deepDepth : plainDepth;
    if (findEditableElement(tree, focused, depth, logger)) {
      logger.info("✅ Found editable child element in hierarchy");
      return FocusFinding::text;
    }
    logger.info("❌ No text input found");
    const auto role = tree.text(focused, QStringLiteral("AXRole"));
    return role && pasteTargets::isRoleWithoutText(*role) ? FocusFinding::noText : FocusFinding::unreadable;
  }
  logger.info("❌ Could not get focused element (error: %{public}d)",
              tree.isOutOfTime() ? cannotCompleteError : noValueError);

  const auto application =
      query.frontmostProcessId ? tree.applicationElement(*query.frontmostProcessId) : AccessibilityElementPtr();
  auto window = tree.element(systemWide, QStringLiteral("AXFocusedWindow"));
  if (!window && application) window = tree.element(application, QStringLiteral("AXFocusedWindow"));
  if (window && findEditableElement(tree, window, deepDepth, logger)) {
    logger.info("✅ Found editable element via focused window fallback: %{public}s", query.frontmostBundleId);
    return FocusFinding::text;
  }
  if (!application) return FocusFinding::unreadable;
  for (const auto& each : tree.elements(application, QStringLiteral("AXWindows"), windowLimit)) {
    if (!findEditableElement(tree, each, plainDepth, logger)) continue;
    logger.info("✅ Found editable element via windows fallback: %{public}s", query.frontmostBundleId);
    return FocusFinding::text;
  }
  return FocusFinding::unreadable;
}

AccessibilityElementPtr findEditableElement(AccessibilityTree& tree, const AccessibilityElementPtr& element,
                                            int maxDepth, const Logger& logger, int depth) {
  if (depth >= maxDepth || tree.isOutOfTime()) return nullptr;
  if (isEditableElement(tree, element, logger)) return element;
  for (const auto& child : tree.elements(element, QStringLiteral("AXChildren"), childLimit))
    if (auto found = findEditableElement(tree, child, maxDepth, logger, depth + 1)) return found;
  return nullptr;
}

bool isEditableElement(AccessibilityTree& tree, const AccessibilityElementPtr& element, const Logger& logger) {
  const auto role = tree.text(element, QStringLiteral("AXRole"));
  if (!role) return false;
  logger.debug("   Element role: %{public}s", *role);
  const QString value = QStringLiteral("AXValue");
  if (*role == QLatin1String("AXWebArea") || *role == QLatin1String("AXGroup")) {
    if (tree.isAttributeSettable(element, value)) {
      logger.info("✅ WebArea/Group has settable value - is editable");
      return true;
    }
    if (!tree.element(element, QStringLiteral("AXEditableAncestor"))) return false;
    logger.info("✅ Element has editable ancestor");
    return true;
  }
  if (pasteTargets::isStandardInputRole(*role)) {
    logger.info("✅ Standard text input role detected");
    return true;
  }
  if (!tree.isAttributeSettable(element, value)) return false;
  logger.info("✅ Element has settable value attribute - is editable");
  return true;
}

}  // namespace quillmere
