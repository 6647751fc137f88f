#include "delivery/PasteTargets.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "domain/Applications.h"

namespace quillmere::pasteTargets {
namespace {

constexpr std::array<std::string_view, 6> standardInputRoles{"AXTextField",   "AXTextArea", "AXComboBox",
                                                             "AXSearchField", "AXWebArea",  "AXGroup"};

constexpr auto rolesWithoutText = std::to_array<std::string_view>({
    "AXButton",    "AXCell",    "AXCheckBox",   "AXHeading",  "AXImage",       "AXLink",        "AXList",
    "AXMenu",      "AXMenuBar", "AXMenuItem",   "AXOutline",  "AXPopUpButton", "AXRadioButton", "AXRow",
    "AXScrollBar", "AXSlider",  "AXStaticText", "AXTabGroup", "AXTable",       "AXToolbar",
});

bool contains(const auto& list, const QString& text) {
  return std::any_of(list.begin(), list.end(),
                     [&](std::string_view one) { return text == QLatin1String(one.data(), qsizetype(one.size())); });
}

}  // namespace

bool isBrowser(const QString& bundleId) {
  return applicationOf(bundleId).kind == ApplicationKind::browser;
}
bool isDeepFocusEditor(const QString& bundleId) {
  return applicationOf(bundleId).hasDeepFocus;
}
bool isBlindPaste(const QString& bundleId) {
  return applicationOf(bundleId).takesBlindPaste;
}
bool pastesWithShiftInsert(const QString& bundleId) {
  return applicationOf(bundleId).kind == ApplicationKind::terminal ||
         bundleId.compare(QLatin1String("emacs"), Qt::CaseInsensitive) == 0;
}
bool isSlowToFocus(const QString& bundleId) {
  return applicationOf(bundleId).isSlowToFocus;
}
bool isStandardInputRole(const QString& role) {
  return contains(standardInputRoles, role);
}
bool isRoleWithoutText(const QString& role) {
  return contains(rolesWithoutText, role);
}

Duration waitAfterReactivation(const QString& bundleId) {
  if (isBrowser(bundleId)) return std::chrono::milliseconds(250);
  return isSlowToFocus(bundleId) ? std::chrono::milliseconds(180) : std::chrono::milliseconds(100);
}

}  // namespace quillmere::pasteTargets
