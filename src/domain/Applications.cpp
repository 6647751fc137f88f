#include "domain/Applications.h"

#include <QHash>
#include <initializer_list>
#include <utility>

namespace quillmere {
namespace {

using Kind = ApplicationKind;
using Row = std::pair<const char*, Application>;

// Editors on Electron whose field lies deep and comes late.
constexpr Application electronEditor(const char* description = "") {
  return {.kind = Kind::codeEditor,
          .isElectronEditor = true,
          .hasDeepFocus = true,
          .isSlowToFocus = true,
          .takesBlindPaste = true,
          .description = description};
}
constexpr Application plainElectronEditor{.kind = Kind::codeEditor, .isElectronEditor = true};
constexpr Application blindIde{.takesBlindPaste = true};

// The identifiers that applications have on every system.
const Row common[] = {
    {"com.apple.Safari", {.kind = Kind::browser, .description = "Apple's web browser with strong privacy features"}},
    {"com.apple.SafariTechnologyPreview", {.kind = Kind::browser}},
    {"com.google.Chrome",
     {.kind = Kind::browser, .description = "A fast, secure, and free web browser built for the modern web"}},
    {"com.google.Chrome.canary", {.kind = Kind::browser}},
    {"com.brave.Browser", {.kind = Kind::browser, .description = "Privacy-focused browser with built-in ad blocking"}},
    {"com.microsoft.edgemac", {.kind = Kind::browser, .description = "Microsoft's Chromium-based web browser"}},
    {"org.mozilla.firefox", {.kind = Kind::browser, .description = "Privacy-focused open source web browser"}},
    {"company.thebrowser.Arc", {.kind = Kind::browser, .description = "Modern browser with space-based organization"}},
    {"com.operasoftware.Opera", {.kind = Kind::browser}},
    {"com.vivaldi.Vivaldi", {.kind = Kind::browser}},
    {"com.kagi.kagimacOS", {.kind = Kind::browser}},
    {"app.zen-browser.zen", {.kind = Kind::browser}},
    {"ru.yandex.desktop.yandex-browser", {.kind = Kind::browser}},

    {"com.todesktop.230313mzl4w4u92", electronEditor("AI-powered code editor based on VS Code")},
    {"com.cursor.ide", electronEditor("AI-powered code editor based on VS Code")},
    {"com.exafunction.windsurf", electronEditor("AI-native code editor for modern development")},
    {"com.microsoft.VSCode", electronEditor("Lightweight but powerful source code editor")},
    {"com.microsoft.VSCodeInsiders", electronEditor()},
    {"com.visualstudio.code.oss", plainElectronEditor},
    {"com.vscodium", plainElectronEditor},
    {"com.vscodium.VSCodium", plainElectronEditor},
    {"com.github.atom", plainElectronEditor},
    {"io.brackets.appshell", plainElectronEditor},
    {"dev.zed.Zed", plainElectronEditor},
    {"dev.zed.Zed-Preview", plainElectronEditor},

    {"com.jetbrains.pycharm", blindIde},
    {"com.jetbrains.pycharm-EAP", blindIde},
    {"com.jetbrains.intellij", blindIde},
    {"com.jetbrains.intellij.ce", blindIde},
    {"com.jetbrains.WebStorm", blindIde},
    {"com.jetbrains.PhpStorm", blindIde},
    {"com.jetbrains.RubyMine", blindIde},
    {"com.jetbrains.AppCode", blindIde},
    {"com.jetbrains.CLion", blindIde},
    {"com.jetbrains.goland", blindIde},
    {"com.jetbrains.datagrip", blindIde},
    {"com.jetbrains.rider", blindIde},
    {"com.jetbrains.fleet", blindIde},
    {"com.apple.dt.Xcode", {.kind = Kind::ide, .description = "Apple's integrated development environment for macOS"}},

    {"com.apple.Terminal", {.kind = Kind::terminal}},
    {"com.googlecode.iterm2", {.kind = Kind::terminal}},
    {"io.alacritty", {.kind = Kind::terminal}},
    {"net.kovidgoyal.kitty", {.kind = Kind::terminal}},

    {"com.tinyspeck.slackmacgap",
     {.kind = Kind::communication,
      .isSlowToFocus = true,
      .takesBlindPaste = true,
      .description = "Team communication and collaboration platform"}},
    {"com.apple.mail", {.kind = Kind::email}},
    {"com.readdle.smartemail", {.kind = Kind::email}},
    {"com.microsoft.Outlook", {.kind = Kind::email}},
    {"com.apple.Notes", {.kind = Kind::notes}},
    {"com.evernote.Evernote", {.kind = Kind::notes}},
    {"com.microsoft.onenote.mac", {.kind = Kind::notes}},
    {"com.apple.iWork.Pages", {.kind = Kind::wordProcessor}},
    {"com.microsoft.Word", {.kind = Kind::wordProcessor}},
    {"com.google.docs", {.kind = Kind::wordProcessor}},
    {"com.apple.iWork.Keynote", {.kind = Kind::presentation}},
    {"com.microsoft.Powerpoint", {.kind = Kind::presentation}},
    {"com.google.slides", {.kind = Kind::presentation}},
    {"com.apple.iWork.Numbers", {.kind = Kind::spreadsheet}},
    {"com.microsoft.Excel", {.kind = Kind::spreadsheet}},
    {"com.google.sheets", {.kind = Kind::spreadsheet}},
};

struct Group {
  Kind kind;
  std::initializer_list<const char*> names;
};

// Names of the Linux desktop, desktop files without their ending and window classes, in small letters: those that no
// identifier above replaces.
const Group linuxNames[] = {
    {Kind::communication,
     {"org.telegram.desktop",
      "telegram-desktop",
      "telegramdesktop",
      "signal",
      "signal-desktop",
      "org.signal.signal",
      "discord",
      "com.discordapp.discord",
      "im.riot.riot",
      "element",
      "element-desktop",
      "teams-for-linux",
      "com.github.ismaelmartinez.teams_for_linux",
      "zoom",
      "us.zoom.zoom",
      "skype",
      "mattermost",
      "mattermost-desktop",
      "org.gnome.fractal",
      "fractal",
      "org.gnome.polari",
      "hexchat",
      "io.github.hexchat",
      "pidgin",
      "org.kde.neochat",
      "neochat",
      "dino",
      "im.dino.dino",
      "gajim",
      "org.gajim.gajim",
      "rocketchat",
      "whatsapp-for-linux",
      "zulip",
      "org.zulip.zulip"}},
    {Kind::email,
     {"thunderbird", "org.mozilla.thunderbird", "thunderbird-esr", "betterbird", "evolution", "org.gnome.evolution",
      "geary", "org.gnome.geary", "kmail", "kmail2", "org.kde.kmail2", "claws-mail", "sylpheed", "mailspring",
      "com.getmailspring.mailspring", "tutanota-desktop", "proton-mail"}},
    {Kind::notes,
     {"obsidian",
      "md.obsidian.obsidian",
      "joplin",
      "@joplin/app-desktop",
      "net.cozic.joplin_desktop",
      "logseq",
      "com.logseq.logseq",
      "org.gnome.notes",
      "bijiben",
      "gnote",
      "org.gnome.gnote",
      "tomboy",
      "zettlr",
      "com.zettlr.zettlr",
      "notion",
      "notion-app",
      "standard notes",
      "org.standardnotes.standardnotes",
      "simplenote",
      "trilium notes",
      "xournalpp",
      "com.github.xournalpp.xournalpp",
      "typora",
      "io.typora.typora",
      "marktext",
      "org.gnome.gitlab.somas.apostrophe",
      "apostrophe",
      "ghostwriter",
      "org.kde.ghostwriter",
      "cherrytree",
      "net.giuspen.cherrytree",
      "zim"}},
    {Kind::wordProcessor,
     {"libreoffice-writer", "org.libreoffice.libreoffice.writer", "soffice", "libreoffice", "abiword",
      "com.abisource.abiword", "calligrawords", "org.kde.calligrawords", "onlyoffice desktop editors",
      "onlyoffice-desktopeditors", "org.onlyoffice.desktopeditors", "wps", "focuswriter", "org.gottcode.focuswriter",
      "lyx", "org.lyx.lyx", "texstudio", "org.texstudio.texstudio"}},
    {Kind::presentation,
     {"libreoffice-impress", "org.libreoffice.libreoffice.impress", "calligrastage", "org.kde.calligrastage", "wpp"}},
    {Kind::spreadsheet,
     {"libreoffice-calc", "org.libreoffice.libreoffice.calc", "gnumeric", "org.gnumeric.gnumeric", "calligrasheets",
      "org.kde.calligrasheets", "et"}},
    {Kind::codeEditor,
     {"org.gnome.gedit",
      "gedit",
      "org.gnome.texteditor",
      "gnome-text-editor",
      "kate",
      "org.kde.kate",
      "kwrite",
      "org.kde.kwrite",
      "mousepad",
      "org.xfce.mousepad",
      "pluma",
      "xed",
      "org.x.editor",
      "featherpad",
      "geany",
      "org.geany.geany",
      "sublime_text",
      "sublime-text",
      "com.sublimetext.three",
      "emacs",
      "org.gnu.emacs",
      "gvim",
      "org.vim.vim",
      "neovide",
      "lapce",
      "helix",
      "notepadqq",
      "medit",
      "l3afpad",
      "leafpad"}},
    {Kind::ide,
     {"org.gnome.builder", "gnome-builder", "kdevelop", "org.kde.kdevelop", "org.qt-project.qtcreator", "qtcreator",
      "eclipse", "jetbrains-rustrover", "jetbrains-studio", "codeblocks", "netbeans", "org.apache.netbeans",
      "arduino ide", "rstudio", "spyder"}},
    {Kind::terminal,
     {"gnome-terminal",
      "gnome-terminal-server",
      "org.gnome.terminal",
      "org.gnome.console",
      "kgx",
      "org.gnome.ptyxis",
      "konsole",
      "org.kde.konsole",
      "yakuake",
      "org.kde.yakuake",
      "xterm",
      "uxterm",
      "xfce4-terminal",
      "mate-terminal",
      "lxterminal",
      "qterminal",
      "terminator",
      "tilix",
      "com.gexperts.tilix",
      "guake",
      "foot",
      "footclient",
      "org.codeberg.dnkl.foot",
      "urxvt",
      "rxvt",
      "st",
      "wezterm",
      "org.wezfurlong.wezterm",
      "com.mitchellh.ghostty",
      "ghostty",
      "tilda",
      "terminology",
      "cool-retro-term",
      "contour",
      "eterm",
      "koi8rxterm",
      "mlterm",
      "ptyxis",
      "rio",
      "rxvt-unicode",
      "sakura",
      "st-256color",
      "termite",
      "blackbox",
      "com.raggesilver.blackbox",
      "deepin-terminal",
      "io.elementary.terminal"}},
};

using Table = QHash<QString, Application>;

Table commonTable() {
  Table table;
  for (const auto& [identifier, application] : common) table.insert(QLatin1String(identifier), application);
  return table;
}

Table linuxTable() {
  Table table;
  for (const Group& group : linuxNames)
    for (const char* name : group.names) table.insert(QLatin1String(name), Application{.kind = group.kind});
  return table;
}

}  // namespace

const Application& applicationOf(const QString& identifier) {
  static const Table common = commonTable(), linux = linuxTable();
  static const Application unknown;
  if (const auto found = common.constFind(identifier); found != common.cend()) return *found;
  QString name = identifier.toLower();
  if (name.endsWith(QLatin1String(".desktop")) && !linux.contains(name)) name.chop(8);
  const auto found = linux.constFind(name);
  return found == linux.cend() ? unknown : *found;
}

bool isOfElectronFamily(const QString& identifier) {
  for (const char* prefix : {"com.todesktop.", "com.electron.", "io.github.electron."})
    if (identifier.startsWith(QLatin1String(prefix))) return true;
  return false;
}

}  // namespace quillmere
