#include "domain/KeyCombination.h"

namespace quillmere {
namespace {

TEST(KeyCombination, TextsAreReadAndWrittenInOneForm) {
  const std::pair<QString, QString> cases[] = {{"Ctrl+Alt+D", "Ctrl+Alt+D"},
                                               {"super + shift+alt+CONTROL+d", "Ctrl+Alt+Shift+Super+D"},
                                               {"Option+Windows+D", "Alt+Super+D"},
                                               {"d", "D"},
                                               {"Win+f9", "Super+F9"},
                                               {"Meta+F35", "Super+F35"},
                                               {"F", "F"},
                                               {"Pause", "Pause"},
                                               {"ctrl+SPACE", "Ctrl+space"},
                                               {"Ctrl+7", "Ctrl+7"},
                                               {"Ctrl+.", "Ctrl+period"},
                                               {"Ctrl++", "Ctrl+plus"},
                                               {"+", "plus"},
                                               {"Ctrl + +", "Ctrl+plus"},
                                               {"Ctrl+-", "Ctrl+minus"},
                                               {"esc", "Escape"},
                                               {"Alt+enter", "Alt+Return"},
                                               {"Page_up", "Page_Up"},
                                               {"Ctrl+Ctrl+D", "Ctrl+D"},
                                               {"D+Ctrl", "Ctrl+D"},
                                               {"Ctrl+ö", "Ctrl+Ö"},
                                               {"Ctrl+Ö", "Ctrl+Ö"},
                                               {"Alt+ß", "Alt+ß"},
                                               {"XF86AudioRecord", "XF86AudioRecord"},
                                               {"Ctrl+KP_Enter", "Ctrl+KP_Enter"},
                                               {"Ctrl+Cyrillic_ve", "Ctrl+Cyrillic_ve"},
                                               {"Ctrl+U20AC", "Ctrl+U20AC"}};
  for (const auto& [text, written] : cases) {
    const auto combination = KeyCombination::parse(text);
    ASSERT_TRUE(combination) << qPrintable(text);
    EXPECT_EQ(combination->text(), written);
    EXPECT_EQ(KeyCombination::parse(written), combination);
  }
}

TEST(KeyCombination, RefusesWhatIsNone) {
  for (const char* text :
       {"",   "   ", "Ctrl", "Ctrl+",     "Ctrl+Alt", "Ctrl+D+E",   "Ctrl+D+",     "Hyper+D", "Ctrl+Foo", "Ctrl Alt D",
        "F0", "F36", "F1x",  "Ctrl+XF86", "漢",       "Ctrl+KP_\n", "Ctrl+UGLY12", "Shift_L", "++",       "+D"})
    EXPECT_FALSE(KeyCombination::parse(text)) << text;
}

}  // namespace
}  // namespace quillmere
