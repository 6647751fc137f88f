#include "delivery/PasteTargets.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace quillmere::pasteTargets {
namespace {

constexpr std::array<std::string_view, 13> browsers{"com.apple.Safari",
                                                    "com.apple.SafariTechnologyPreview",
                                                    "com.google.Chrome",
                                                    "com.google.Chrome.canary",
                                                    "com.brave.Browser",
                                                    "com.microsoft.edgemac",
                                                    "org.mozilla.firefox",
                                                    "company.thebrowser.Arc",
                                                    "com.operasoftware.Opera",
                                                    "com.vivaldi.Vivaldi",
                                                    "com.kagi.kagimacOS",
                                                    "app.zen-browser.zen",
                                                    "ru.yandex.desktop.yandex-browser"};

constexpr std::array<std::string_view, 5> deepFocusEditors{"com.todesktop.230313mzl4w4u92", "com.cursor.ide",
                                                           "com.exafunction.windsurf", "com.microsoft.VSCode",
                                                           "com.microsoft.VSCodeInsiders"};

constexpr std::string_view slack = "com.tinyspeck.slackmacgap";

constexpr std::array<std::string_view, 19> blindPaste{slack,
                                                      "com.todesktop.230313mzl4w4u92",
                                                      "com.cursor.ide",
                                                      "com.exafunction.windsurf",
                                                      "com.microsoft.VSCode",
                                                      "com.microsoft.VSCodeInsiders",
                                                      "com.jetbrains.pycharm",
                                                      "com.jetbrains.pycharm-EAP",
                                                      "com.jetbrains.intellij",
                                                      "com.jetbrains.intellij.ce",
                                                      "com.jetbrains.WebStorm",
                                                      "com.jetbrains.PhpStorm",
                                                      "com.jetbrains.RubyMine",
                                                      "com.jetbrains.AppCode",
                                                      "com.jetbrains.CLion",
                                                      "com.jetbrains.goland",
                                                      "com.jetbrains.datagrip",
                                                      "com.jetbrains.rider",
                                                      "com.jetbrains.fleet"};

constexpr std::array<std::string_view, 2> terminals{"io.alacritty", "net.kovidgoyal.kitty"};

// Terminals of the Linux desktop under the identifiers they have there.
constexpr std::array linuxTerminals = std::to_array<std::string_view>({
    "xterm",
    "uxterm",
    "koi8rxterm",
    "urxvt",
    "rxvt",
    "rxvt-unicode",
    "gnome-terminal",
    "gnome-terminal-server",
    "org.gnome.terminal",
    "org.gnome.console",
    "kgx",
    "org.gnome.ptyxis",
    "ptyxis",
    "konsole",
    "org.kde.konsole",
    "yakuake",
    "org.kde.yakuake",
    "xfce4-terminal",
    "mate-terminal",
    "lxterminal",
    "qterminal",
    "terminator",
    "tilix",
    "com.gexperts.tilix",
    "guake",
    "tilda",
    "foot",
    "footclient",
    "org.codeberg.dnkl.foot",
    "wezterm",
    "org.wezfurlong.wezterm",
    "ghostty",
    "com.mitchellh.ghostty",
    "st",
    "st-256color",
    "terminology",
    "cool-retro-term",
    "deepin-terminal",
    "io.elementary.terminal",
    "blackbox",
    "com.raggesilver.blackbox",
    "sakura",
    "termite",
    "mlterm",
    "eterm",
    "contour",
    "rio",
    // No terminal, but pasted into like one.
    "emacs",
});

constexpr std::array<std::string_view, 6> standardInputRoles{"AXTextField",   "AXTextArea", "AXComboBox",
                                                             "AXSearchField", "AXWebArea",  "AXGroup"};

constexpr std::array rolesWithoutText = std::to_array<std::string_view>({
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
  return contains(browsers, bundleId);
}
bool isDeepFocusEditor(const QString& bundleId) {
  return contains(deepFocusEditors, bundleId);
}
bool isBlindPaste(const QString& bundleId) {
  return contains(blindPaste, bundleId);
}
bool pastesWithShiftInsert(const QString& bundleId) {
  return contains(terminals, bundleId) || contains(linuxTerminals, bundleId);
}
bool isSlowToFocus(const QString& bundleId) {
  return isDeepFocusEditor(bundleId) || bundleId == QLatin1String(slack.data(), qsizetype(slack.size()));
}
bool isStandardInputRole(const QString& role) {
  return contains(standardInputRoles, role);
}

bool isRoleWithoutText(const QString& role) {
  return contains(rolesWithoutText, role);
}
QString pasteKeys(const QString& bundleId) {
  return pastesWithShiftInsert(bundleId) ? QStringLiteral("Shift+Insert") : QStringLiteral("Ctrl+V");
}

Duration waitAfterReactivation(const QString& bundleId) {
  if (isBrowser(bundleId)) return std::chrono::milliseconds(250);
  return isSlowToFocus(bundleId) ? std::chrono::milliseconds(180) : std::chrono::milliseconds(100);
}

}  // namespace quillmere::pasteTargets
