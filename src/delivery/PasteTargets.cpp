#include "delivery/PasteTargets.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "domain/Applications.h"

namespace quillmere::pasteTargets {
namespace {

constexpr std::array<std::string_view, 6> standardInputRoles{"AXTextField",   "AXTextArea", "AXComboBox",
                                                             "AXSearchField", "AXWebArea",  "AXGroup"};

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
bool isTerminal(const QString& bundleId) {
  return applicationOf(bundleId).kind == ApplicationKind::terminal;
}
bool isSlowToFocus(const QString& bundleId) {
  return applicationOf(bundleId).isSlowToFocus;
}
bool isStandardInputRole(const QString& role) {
  return std::any_of(standardInputRoles.begin(), standardInputRoles.end(),
                     [&](std::string_view one) { return role == QLatin1String(one.data(), qsizetype(one.size())); });
}

Duration waitAfterReactivation(const QString& bundleId) {
  if (isBrowser(bundleId)) return std::chrono::milliseconds(250);
  return isSlowToFocus(bundleId) ? std::chrono::milliseconds(180) : std::chrono::milliseconds(100);
}

}  // namespace quillmere::pasteTargets
