#include <gtest/gtest.h>

#include "context/ApplicationTables.h"
#include "context/CopyMenuItem.h"
#include "context/ElectronAppDetector.h"
#include "context/TextTraits.h"

namespace quillmere {
namespace {

TEST(ApplicationTablesTest, CategoryAndDescriptionByIdentifier) {
  struct Case {
    const char* bundleId;
    bool isElectron;
    const char* category;
    const char* description;
  };
  const Case cases[] = {
      {"org.mozilla.firefox", false, "Web Browser", "Privacy-focused open source web browser"},
      {"com.vivaldi.Vivaldi", false, "Web Browser", "Web browsing application"},
      {"com.microsoft.VSCode", true, "Code Editor", "Lightweight but powerful source code editor"},
      {"dev.zed.Zed", true, "Code Editor", "Source code editing application"},
      {"com.tinyspeck.slackmacgap", false, "Communication", "Team communication and collaboration platform"},
      {"com.microsoft.Word", false, "Word Processor", "Document creation and editing application"},
      {"com.apple.dt.Xcode", false, "IDE", "Apple's integrated development environment for macOS"},
      {"net.kovidgoyal.kitty", false, "Terminal", "Command-line interface application"},
      {"io.alacritty", false, "Terminal", "Command-line interface application"},
      {"", false, "Application", "Desktop application"},
      // A browser stays one, whoever calls it an editor.
      {"com.google.Chrome", true, "Web Browser", "A fast, secure, and free web browser built for the modern web"},
      // Case counts in the identifiers of the tables, not in those of this desktop.
      {"com.microsoft.word", false, "Application", "Desktop application"},
      {"org.gnome.TextEditor", false, "Code Editor", "Source code editing application"},
      {"org.kde.konsole.desktop", false, "Terminal", "Command-line interface application"},
      {"jetbrains-rustrover", false, "IDE", "Desktop application"},
  };
  for (const Case& each : cases) {
    const QString id = QString::fromLatin1(each.bundleId);
    const QString category = applicationCategory(id, each.isElectron);
    EXPECT_EQ(category, QLatin1String(each.category)) << each.bundleId;
    EXPECT_EQ(applicationDescription(id, category), QLatin1String(each.description)) << each.bundleId;
  }
}

TEST(TextTraitsTest, OneBrowserNameIsCutOffATitle) {
  const std::pair<const char*, const char*> cases[] = {
      {"News - Google Chrome", "News"},
      {"News — Microsoft Edge", "News"},
      {"A - Safari - Chrome", "A - Safari"},
      {"A - Chrome - Google Chrome", "A - Chrome"},
      {"News - Mozilla Firefox", "News - Mozilla Firefox"},
      {" - Brave", ""},
  };
  for (const auto& [title, cleaned] : cases)
    EXPECT_EQ(cleanedTabTitle(QString::fromUtf8(title)), QString::fromUtf8(cleaned)) << title;
}

TEST(TextTraitsTest, FormatOfWhatIsWritten) {
  struct Case {
    const char* value;  // null: none
    const char* role;
    const char* description;
    const char* category;
    const char* format;
  };
  const Case cases[] = {
      {"https://a.b/class", nullptr, nullptr, "Email Client", "url"},
      {" https://a.b", nullptr, nullptr, "Email Client", "email"},
      {"We went to class", "AXTextArea", nullptr, "Email Client", "code"},
      {"Class of 1999", nullptr, nullptr, "Application", "text"},
      {"as if ", nullptr, nullptr, "Application", "code"},
      {"me@home", nullptr, nullptr, "Application", "text"},
      {"me@home.org", nullptr, nullptr, "Terminal", "email"},
      {"", "AXTextField", "Address and search bar", "Web Browser", "url"},
      {nullptr, "AXTextField", "SEARCH", "Web Browser", "url"},
      {nullptr, "AXTextArea", "Search", "Web Browser", "text"},
      {nullptr, "AXTextField", nullptr, "Web Browser", "text"},
      {nullptr, "AXTextField", "Search", "Terminal", "command"},
      {nullptr, nullptr, nullptr, "IDE", "code"},
      {nullptr, nullptr, nullptr, "Note Taking", "markdown"},
      {nullptr, nullptr, nullptr, "Word Processor", "text"},
  };
  const auto text = [](const char* each) { return each ? std::optional(QString::fromUtf8(each)) : std::nullopt; };
  for (const Case& each : cases) {
    FocusedElementInfo info;
    info.value = text(each.value);
    info.role = text(each.role);
    info.description = text(each.description);
    EXPECT_EQ(textInputFormat(info, QString::fromLatin1(each.category)), QLatin1String(each.format))
        << (each.value ? each.value : "-") << " in " << each.category;
  }
}

TEST(TextTraitsTest, QualityCountsWhatIsNotBlank) {
  const std::optional<QString> none, blank = " \n\u00a0", some = "x";
  EXPECT_EQ(contextQuality(some, some), "Full");
  EXPECT_EQ(contextQuality(some, blank), "Partial");
  EXPECT_EQ(contextQuality(none, some), "Partial");
  EXPECT_EQ(contextQuality(blank, none), "Limited");
}

TEST(ElectronAppDetectorTest, KnowsEditorsByTheirIdentifiers) {
  ElectronAppDetector detector{Logging()};
  for (const char* yes : {"com.microsoft.VSCode", "com.electron.notes", "com.todesktop."})
    EXPECT_TRUE(detector.isElectronEditor(yes)) << yes;
  for (const char* no : {"com.microsoft.vscode", "com.apple.dt.Xcode", "com.jetbrains.WebStorm", ""})
    EXPECT_FALSE(detector.isElectronEditor(no)) << no;
}

TEST(CopyMenuItemTest, WordsAreFoundUnderMnemonicsAndShortcuts) {
  for (const char* title :
       {"Copy", "&Copy", "_Kopieren", "复制(&C)", "コピー(_C)", "Copy\tCtrl+C", "Cop&ier", " copy "})
    EXPECT_TRUE(isWordForCopy(QString::fromUtf8(title))) << title;
  for (const char* title : {"Copy Link", "Copy…", "", "Cut", "Copyright"})
    EXPECT_FALSE(isWordForCopy(QString::fromUtf8(title))) << title;
  EXPECT_TRUE(isWordForEdit("&Bearbeiten"));
  EXPECT_FALSE(isWordForEdit("File"));
}

}  // namespace
}  // namespace quillmere
