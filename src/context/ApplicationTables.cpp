#include "context/ApplicationTables.h"

#include <QHash>
#include <QSet>

#include "context/LinuxApplications.h"

namespace quillmere {

bool isBrowser(const QString& bundleId) {
  static const QSet<QString> browsers = {
      QStringLiteral("com.apple.Safari"),
      QStringLiteral("com.apple.SafariTechnologyPreview"),
      QStringLiteral("com.google.Chrome"),
      QStringLiteral("com.google.Chrome.canary"),
      QStringLiteral("com.brave.Browser"),
      QStringLiteral("com.microsoft.edgemac"),
      QStringLiteral("org.mozilla.firefox"),
      QStringLiteral("company.thebrowser.Arc"),
      QStringLiteral("com.operasoftware.Opera"),
      QStringLiteral("com.vivaldi.Vivaldi"),
      QStringLiteral("com.kagi.kagimacOS"),
      QStringLiteral("app.zen-browser.zen"),
      QStringLiteral("ru.yandex.desktop.yandex-browser"),
  };
  return browsers.contains(bundleId);
}

QString applicationCategory(const QString& bundleId, bool isElectronEditor) {
  if (isBrowser(bundleId)) return QStringLiteral("Web Browser");
  if (isElectronEditor) return QStringLiteral("Code Editor");
  static const QHash<QString, QString> categories = {
      {QStringLiteral("com.tinyspeck.slackmacgap"), QStringLiteral("Communication")},
      {QStringLiteral("com.apple.mail"), QStringLiteral("Email Client")},
      {QStringLiteral("com.readdle.smartemail"), QStringLiteral("Email Client")},
      {QStringLiteral("com.microsoft.Outlook"), QStringLiteral("Email Client")},
      {QStringLiteral("com.apple.Notes"), QStringLiteral("Note Taking")},
      {QStringLiteral("com.evernote.Evernote"), QStringLiteral("Note Taking")},
      {QStringLiteral("com.microsoft.onenote.mac"), QStringLiteral("Note Taking")},
      {QStringLiteral("com.apple.iWork.Pages"), QStringLiteral("Word Processor")},
      {QStringLiteral("com.microsoft.Word"), QStringLiteral("Word Processor")},
      {QStringLiteral("com.google.docs"), QStringLiteral("Word Processor")},
      {QStringLiteral("com.apple.iWork.Keynote"), QStringLiteral("Presentation")},
      {QStringLiteral("com.microsoft.Powerpoint"), QStringLiteral("Presentation")},
      {QStringLiteral("com.google.slides"), QStringLiteral("Presentation")},
      {QStringLiteral("com.apple.iWork.Numbers"), QStringLiteral("Spreadsheet")},
      {QStringLiteral("com.microsoft.Excel"), QStringLiteral("Spreadsheet")},
      {QStringLiteral("com.google.sheets"), QStringLiteral("Spreadsheet")},
      {QStringLiteral("com.apple.dt.Xcode"), QStringLiteral("IDE")},
      {QStringLiteral("com.apple.Terminal"), QStringLiteral("Terminal")},
      {QStringLiteral("com.googlecode.iterm2"), QStringLiteral("Terminal")},
      {QStringLiteral("net.kovidgoyal.kitty"), QStringLiteral("Terminal")},
  };
  if (const auto found = categories.constFind(bundleId); found != categories.cend()) return *found;
  const QString own = linuxApplicationCategory(bundleId);
  return own.isEmpty() ? QStringLiteral("Application") : own;
}

QString applicationDescription(const QString& bundleId, const QString& category) {
  static const QHash<QString, QString> byApplication = {
      {QStringLiteral("com.apple.Safari"), QStringLiteral("Apple's web browser with strong privacy features")},
      {QStringLiteral("com.google.Chrome"),
       QStringLiteral("A fast, secure, and free web browser built for the modern web")},
      {QStringLiteral("org.mozilla.firefox"), QStringLiteral("Privacy-focused open source web browser")},
      {QStringLiteral("com.microsoft.edgemac"), QStringLiteral("Microsoft's Chromium-based web browser")},
      {QStringLiteral("company.thebrowser.Arc"), QStringLiteral("Modern browser with space-based organization")},
      {QStringLiteral("com.brave.Browser"), QStringLiteral("Privacy-focused browser with built-in ad blocking")},
      {QStringLiteral("com.microsoft.VSCode"), QStringLiteral("Lightweight but powerful source code editor")},
      {QStringLiteral("com.todesktop.230313mzl4w4u92"), QStringLiteral("AI-powered code editor based on VS Code")},
      {QStringLiteral("com.cursor.ide"), QStringLiteral("AI-powered code editor based on VS Code")},
      {QStringLiteral("com.exafunction.windsurf"), QStringLiteral("AI-native code editor for modern development")},
      {QStringLiteral("com.tinyspeck.slackmacgap"), QStringLiteral("Team communication and collaboration platform")},
      {QStringLiteral("com.apple.dt.Xcode"), QStringLiteral("Apple's integrated development environment for macOS")},
  };
  if (const auto found = byApplication.constFind(bundleId); found != byApplication.cend()) return *found;
  static const QHash<QString, QString> byCategory = {
      {QStringLiteral("Web Browser"), QStringLiteral("Web browsing application")},
      {QStringLiteral("Code Editor"), QStringLiteral("Source code editing application")},
      {QStringLiteral("Communication"), QStringLiteral("Communication and messaging application")},
      {QStringLiteral("Email Client"), QStringLiteral("Email management application")},
      {QStringLiteral("Note Taking"), QStringLiteral("Note-taking and organization application")},
      {QStringLiteral("Word Processor"), QStringLiteral("Document creation and editing application")},
      {QStringLiteral("Terminal"), QStringLiteral("Command-line interface application")},
  };
  return byCategory.value(category, QStringLiteral("Desktop application"));
}

}  // namespace quillmere
