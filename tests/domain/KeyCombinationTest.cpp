#include "domain/KeyCombination.h"

namespace quillmere {
namespace {

TEST(KeyCombinationTest, TextsAreReadAndWrittenInOneForm) {
  std::vector<std::pair<QString, QString>> cases = {{"super + shift+alt+CONTROL+d", "Ctrl+Alt+Shift+Super+D"},
                                                    {"Meta+F35", "Super+F35"},
                                                    {"ctrl+SPACE", "Ctrl+space"},
                                                    {"Ctrl++", "Ctrl+plus"},
                                                    {"Ctrl + +", "Ctrl+plus"},
                                                    {"esc", "Escape"},
                                                    {"Ctrl+Ctrl+D", "Ctrl+D"},
                                                    {"D+Ctrl", "Ctrl+D"},
                                                    {"Ctrl+ö", "Ctrl+Ö"}};
  for (const char* same : {"Ctrl+Alt+D", "F", "Pause", "Ctrl+7", "Ctrl+Ö", "Alt+ß", "XF86AudioRecord", "Ctrl+KP_Enter",
                           "Ctrl+Cyrillic_ve", "Ctrl+U20AC"})
    cases.emplace_back(same, same);
  for (const auto& [text, written] : cases) {
    const auto combination = KeyCombination::parse(text);
    ASSERT_TRUE(combination) << qPrintable(text);
    EXPECT_EQ(combination->text(), written);
    EXPECT_EQ(KeyCombination::parse(written), combination);
  }
}

TEST(KeyCombinationTest, RefusesWhatIsNone) {
  for (const char* text :
       {"",   "   ", "Ctrl", "Ctrl+",     "Ctrl+Alt", "Ctrl+D+E",   "Ctrl+D+",     "Hyper+D", "Ctrl+Foo", "Ctrl Alt D",
        "F0", "F36", "F1x",  "Ctrl+XF86", "漢",       "Ctrl+KP_\n", "Ctrl+UGLY12", "Shift_L", "++",       "+D"})
    EXPECT_FALSE(KeyCombination::parse(text)) << text;
}

}  // namespace
}  // namespace quillmere
