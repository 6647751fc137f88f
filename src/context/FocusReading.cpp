#include "context/FocusReading.h"

#include "context/ElementSearch.h"
#include "context/TextTraits.h"

namespace quillmere {
namespace {

constexpr int searchDepth = 6;
constexpr int mostElements = 200;

// Reads of one element.
class Reader {
 public:
  Reader(AccessibilityTree& tree, AccessibilityElementPtr element) : tree_(tree), element_(std::move(element)) {}
  std::optional<QString> operator()(const char* attribute) const {
    return tree_.text(element_, QString::fromLatin1(attribute));
  }

 private:
  AccessibilityTree& tree_;
  AccessibilityElementPtr element_;
};

std::optional<QString> firstOf(const std::optional<QString>& first, const std::optional<QString>& second) {
  return first ? first : second;
}

FocusedElementInfo readWebArea(AccessibilityTree& tree, const AccessibilityElementPtr& area) {
  const auto selected = tree.text(area, QStringLiteral("AXSelectedText"));
  const auto inner = tree.element(area, QStringLiteral("AXFocusedUIElement"));
  FocusedElementInfo info;
  if (!inner) {
    info.role = QStringLiteral("AXWebArea");
    info.description = QStringLiteral("Web content area");
    info.value = selected;
    return info;
  }
  const Reader read(tree, inner);
  info.role = read("AXRole").value_or(QStringLiteral("AXWebContent"));
  info.title = read("AXTitle");
  info.description = read("AXDescription").value_or(QStringLiteral("Web content area"));
  info.value = firstOf(read("AXValue"), selected);
  info.placeholder = read("AXPlaceholderValue");
  return info;
}

FocusedElementInfo readWindow(AccessibilityTree& tree, std::optional<qint64> processId) {
  const auto application = processId ? tree.applicationElement(*processId) : nullptr;
  if (!application) return {};
  auto window = tree.element(application, QStringLiteral("AXFocusedWindow"));
  if (!window) {
    const auto windows = tree.elements(application, QStringLiteral("AXWindows"), 1);
    if (windows.empty()) return {};
    window = windows.front();
  }
  if (const auto area = ElementSearch(tree, mostElements).findElement(window, QStringLiteral("AXWebArea"), searchDepth))
    return readWebArea(tree, area);
  FocusedElementInfo info;
  if (const auto field = ElementSearch(tree, mostElements).findEditable(window, searchDepth)) {
    const Reader read(tree, field);
    info.role = read("AXRole");
    info.title = read("AXTitle");
    info.description = read("AXDescription");
    info.value = read("AXValue");
  }
  return info;
}

}  // namespace

std::optional<QString> readTabTitle(AccessibilityTree& tree, qint64 processId) {
  const auto application = tree.applicationElement(processId);
  const auto window = application ? tree.element(application, QStringLiteral("AXFocusedWindow")) : nullptr;
  if (!window) return std::nullopt;
  if (const auto area = ElementSearch(tree, mostElements).findElement(window, QStringLiteral("AXWebArea"), searchDepth))
    if (const auto title = tree.text(area, QStringLiteral("AXTitle")); title && !title->isEmpty())
      return cleanedTabTitle(*title);
  if (const auto title = tree.text(window, QStringLiteral("AXTitle")); title && !title->isEmpty())
    return cleanedTabTitle(*title);
  return std::nullopt;
}

FocusedElementInfo readFocusedElement(AccessibilityTree& tree, std::optional<qint64> processId) {
  const auto element = tree.element(tree.systemWideElement(), QStringLiteral("AXFocusedUIElement"));
  if (!element) return readWindow(tree, processId);
  const Reader read(tree, element);
  FocusedElementInfo info;
  info.role = read("AXRole");
  if (info.role == QStringLiteral("AXWebArea")) return readWebArea(tree, element);
  info.title = read("AXTitle");
  info.description = firstOf(read("AXDescription"), read("AXRoleDescription"));
  info.value = firstOf(read("AXValue"), read("AXSelectedText"));
  info.placeholder = read("AXPlaceholderValue");
  return info;
}

}  // namespace quillmere
