#include <gtest/gtest.h>

#include "context/ApplicationTables.h"
#include "context/CopyMenuItem.h"
#include "context/TextTraits.h"

namespace quillmere {
namespace {

TEST(ApplicationTablesTest, CategoryAndDescriptionByIdentifier) {
  EXPECT_EQ(applicationCategory("org.mozilla.firefox", false), "Web Browser");
  EXPECT_EQ(applicationDescription("org.mozilla.firefox", "Web Browser"), "Privacy-focused open source web browser");
  EXPECT_EQ(applicationCategory("dev.zed.Zed", true), "Code Editor");
  EXPECT_EQ(applicationDescription("dev.zed.Zed", "Code Editor"), "Source code editing application");
  EXPECT_EQ(applicationCategory("", false), "Application");
  EXPECT_EQ(applicationDescription("jetbrains-rustrover", "IDE"), "Desktop application");
  // A browser stays one, whoever calls it an editor.
  EXPECT_EQ(applicationCategory("com.google.Chrome", true), "Web Browser");
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
      {"We went to class", "AXTextArea", nullptr, "Email Client", "code"},
      {"me@home.org", nullptr, nullptr, "Terminal", "email"},
      {nullptr, "AXTextField", "SEARCH", "Web Browser", "url"},
      {nullptr, "AXTextArea", "Search", "Web Browser", "text"},
      {nullptr, "AXTextField", "Search", "Terminal", "command"},
      {nullptr, nullptr, nullptr, "Note Taking", "markdown"},
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
