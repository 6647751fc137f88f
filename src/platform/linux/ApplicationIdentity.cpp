#include "platform/linux/ApplicationIdentity.h"

#include <array>
#include <string_view>
#include <utility>

namespace quillmere::applicationIdentity {
namespace {

using Pair = std::pair<std::string_view, std::string_view>;

// Window class, instance or desktop file in lower case -> the identifier of the application tables.
constexpr auto table = std::to_array<Pair>({
    // Editors
    {"code", "com.microsoft.VSCode"},
    {"visual-studio-code", "com.microsoft.VSCode"},
    {"com.visualstudio.code", "com.microsoft.VSCode"},
    {"code-insiders", "com.microsoft.VSCodeInsiders"},
    {"code - insiders", "com.microsoft.VSCodeInsiders"},
    {"com.visualstudio.code.insiders", "com.microsoft.VSCodeInsiders"},
    {"code-oss", "com.visualstudio.code.oss"},
    {"code - oss", "com.visualstudio.code.oss"},
    {"com.visualstudio.code-oss", "com.visualstudio.code.oss"},
    {"codium", "com.vscodium"},
    {"vscodium", "com.vscodium"},
    {"com.vscodium.codium", "com.vscodium"},
    {"cursor", "com.todesktop.230313mzl4w4u92"},
    {"cursor-url-handler", "com.todesktop.230313mzl4w4u92"},
    {"windsurf", "com.exafunction.windsurf"},
    {"atom", "com.github.atom"},
    {"io.atom.atom", "com.github.atom"},
    {"brackets", "io.brackets.appshell"},
    {"io.brackets.brackets", "io.brackets.appshell"},
    {"zed", "dev.zed.Zed"},
    {"dev.zed.zed", "dev.zed.Zed"},
    {"dev.zed.zed-preview", "dev.zed.Zed-Preview"},
    // IDEs
    {"jetbrains-idea", "com.jetbrains.intellij"},
    {"jetbrains-idea-ce", "com.jetbrains.intellij.ce"},
    {"com.jetbrains.intellij-idea-ultimate", "com.jetbrains.intellij"},
    {"com.jetbrains.intellij-idea-community", "com.jetbrains.intellij.ce"},
    {"jetbrains-pycharm", "com.jetbrains.pycharm"},
    {"jetbrains-pycharm-ce", "com.jetbrains.pycharm"},
    {"com.jetbrains.pycharm-professional", "com.jetbrains.pycharm"},
    {"com.jetbrains.pycharm-community", "com.jetbrains.pycharm"},
    {"jetbrains-pycharm-eap", "com.jetbrains.pycharm-EAP"},
    {"jetbrains-webstorm", "com.jetbrains.WebStorm"},
    {"com.jetbrains.webstorm", "com.jetbrains.WebStorm"},
    {"jetbrains-phpstorm", "com.jetbrains.PhpStorm"},
    {"com.jetbrains.phpstorm", "com.jetbrains.PhpStorm"},
    {"jetbrains-rubymine", "com.jetbrains.RubyMine"},
    {"com.jetbrains.rubymine", "com.jetbrains.RubyMine"},
    {"jetbrains-clion", "com.jetbrains.CLion"},
    {"com.jetbrains.clion", "com.jetbrains.CLion"},
    {"jetbrains-goland", "com.jetbrains.goland"},
    {"com.jetbrains.goland", "com.jetbrains.goland"},
    {"jetbrains-datagrip", "com.jetbrains.datagrip"},
    {"com.jetbrains.datagrip", "com.jetbrains.datagrip"},
    {"jetbrains-rider", "com.jetbrains.rider"},
    {"com.jetbrains.rider", "com.jetbrains.rider"},
    {"jetbrains-fleet", "com.jetbrains.fleet"},
    {"fleet", "com.jetbrains.fleet"},
    // Browsers
    {"firefox", "org.mozilla.firefox"},
    {"firefox-esr", "org.mozilla.firefox"},
    {"firefox_firefox", "org.mozilla.firefox"},
    {"navigator", "org.mozilla.firefox"},
    {"firefox-developer-edition", "org.mozilla.firefox"},
    {"firefoxdeveloperedition", "org.mozilla.firefox"},
    {"firefox-nightly", "org.mozilla.firefox"},
    {"librewolf", "org.mozilla.firefox"},
    {"librewolf-default", "org.mozilla.firefox"},
    {"io.gitlab.librewolf-community", "org.mozilla.firefox"},
    {"google-chrome", "com.google.Chrome"},
    {"google-chrome-stable", "com.google.Chrome"},
    {"google-chrome-beta", "com.google.Chrome"},
    {"com.google.chrome", "com.google.Chrome"},
    {"google-chrome-unstable", "com.google.Chrome.canary"},
    {"chromium", "com.google.Chrome"},
    {"chromium-browser", "com.google.Chrome"},
    {"chromium_chromium", "com.google.Chrome"},
    {"org.chromium.chromium", "com.google.Chrome"},
    {"ungoogled-chromium", "com.google.Chrome"},
    {"brave-browser", "com.brave.Browser"},
    {"brave", "com.brave.Browser"},
    {"com.brave.browser", "com.brave.Browser"},
    {"microsoft-edge", "com.microsoft.edgemac"},
    {"microsoft-edge-beta", "com.microsoft.edgemac"},
    {"microsoft-edge-dev", "com.microsoft.edgemac"},
    {"com.microsoft.edge", "com.microsoft.edgemac"},
    {"vivaldi", "com.vivaldi.Vivaldi"},
    {"vivaldi-stable", "com.vivaldi.Vivaldi"},
    {"vivaldi-snapshot", "com.vivaldi.Vivaldi"},
    {"com.vivaldi.vivaldi", "com.vivaldi.Vivaldi"},
    {"opera", "com.operasoftware.Opera"},
    {"opera-stable", "com.operasoftware.Opera"},
    {"com.opera.opera", "com.operasoftware.Opera"},
    {"zen", "app.zen-browser.zen"},
    {"zen-browser", "app.zen-browser.zen"},
    {"zen-alpha", "app.zen-browser.zen"},
    {"zen-beta", "app.zen-browser.zen"},
    {"app.zen_browser.zen", "app.zen-browser.zen"},
    {"yandex-browser", "ru.yandex.desktop.yandex-browser"},
    {"yandex-browser-stable", "ru.yandex.desktop.yandex-browser"},
    {"ru.yandex.browser", "ru.yandex.desktop.yandex-browser"},
    // Terminals
    {"kitty", "net.kovidgoyal.kitty"},
    {"alacritty", "io.alacritty"},
    {"org.alacritty.alacritty", "io.alacritty"},
    // Others of the tables
    {"slack", "com.tinyspeck.slackmacgap"},
    {"com.slack.slack", "com.tinyspeck.slackmacgap"},
    {"evernote", "com.evernote.Evernote"},
});

}  // namespace

QString bundleId(const QString& name) {
  QString key = name.trimmed().toLower();
  if (key.endsWith(QLatin1String(".desktop"))) key.chop(8);
  for (const auto& [own, common] : table)
    if (key == QLatin1String(own.data(), qsizetype(own.size())))
      return QString::fromLatin1(common.data(), qsizetype(common.size()));
  return key;
}

QString bundleIdOfWindow(const QString& windowClass, const QString& instance) {
  const QString byClass = bundleId(windowClass);
  if (byClass != windowClass.trimmed().toLower()) return byClass;
  const QString byInstance = bundleId(instance);
  // The instance counts where the tables know it, the class where neither is known.
  if (byClass.isEmpty() || byInstance != instance.trimmed().toLower()) return byInstance;
  return byClass;
}

}  // namespace quillmere::applicationIdentity
