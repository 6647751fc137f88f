#include "domain/KeyCombination.h"

#include <gtest/gtest.h>

namespace quillmere {
namespace {

struct Reading {
  const char* text;
  const char* written;  // null: the text is no combination
};

class KeyCombinationTexts : public testing::TestWithParam<Reading> {};

TEST_P(KeyCombinationTexts, AreReadAndWrittenInOneForm) {
  const auto [text, written] = GetParam();
  const auto combination = KeyCombination::parse(QString::fromUtf8(text));
  ASSERT_EQ(combination.has_value(), written != nullptr);
  if (!combination) return;
  EXPECT_EQ(combination->text(), QString::fromUtf8(written));
  EXPECT_EQ(KeyCombination::parse(combination->text()), combination);
}

INSTANTIATE_TEST_SUITE_P(
    Accepted, KeyCombinationTexts,
    testing::Values(Reading{"Ctrl+Alt+D", "Ctrl+Alt+D"},
                    Reading{"super + shift+alt+CONTROL+d", "Ctrl+Alt+Shift+Super+D"}, Reading{"d", "D"},
                    Reading{"Win+f9", "Super+F9"}, Reading{"Meta+F35", "Super+F35"}, Reading{"F", "F"},
                    Reading{"Pause", "Pause"}, Reading{"ctrl+SPACE", "Ctrl+space"}, Reading{"Ctrl+7", "Ctrl+7"},
                    Reading{"Ctrl+.", "Ctrl+period"}, Reading{"Ctrl++", "Ctrl+plus"}, Reading{"+", "plus"},
                    Reading{"Ctrl + +", "Ctrl+plus"}, Reading{"Ctrl+-", "Ctrl+minus"}, Reading{"esc", "Escape"},
                    Reading{"Alt+enter", "Alt+Return"}, Reading{"Page_up", "Page_Up"}, Reading{"Ctrl+Ctrl+D", "Ctrl+D"},
                    Reading{"D+Ctrl", "Ctrl+D"}, Reading{"Ctrl+ö", "Ctrl+Ö"}, Reading{"Ctrl+Ö", "Ctrl+Ö"},
                    Reading{"Alt+ß", "Alt+ß"}, Reading{"XF86AudioRecord", "XF86AudioRecord"},
                    Reading{"Ctrl+KP_Enter", "Ctrl+KP_Enter"}, Reading{"Ctrl+Cyrillic_ve", "Ctrl+Cyrillic_ve"},
                    Reading{"Ctrl+U20AC", "Ctrl+U20AC"}));

INSTANTIATE_TEST_SUITE_P(Refused, KeyCombinationTexts,
                         testing::Values(Reading{"", nullptr}, Reading{"   ", nullptr}, Reading{"Ctrl", nullptr},
                                         Reading{"Ctrl+", nullptr}, Reading{"Ctrl+Alt", nullptr},
                                         Reading{"Ctrl+D+E", nullptr}, Reading{"Ctrl+D+", nullptr},
                                         Reading{"Hyper+D", nullptr}, Reading{"Ctrl+Foo", nullptr},
                                         Reading{"Ctrl Alt D", nullptr}, Reading{"F0", nullptr},
                                         Reading{"F36", nullptr}, Reading{"F1x", nullptr},
                                         Reading{"Ctrl+XF86", nullptr}, Reading{"漢", nullptr},
                                         Reading{"Ctrl+KP_\n", nullptr}, Reading{"Ctrl+UGLY12", nullptr},
                                         Reading{"Shift_L", nullptr}, Reading{"++", nullptr}, Reading{"+D", nullptr}));

TEST(KeyCombination, ReadsEachModifierOnItsOwn) {
  const KeyCombination expected{
      .control = false, .alt = true, .shift = false, .super = true, .key = QStringLiteral("d")};
  EXPECT_EQ(KeyCombination::parse(QStringLiteral("Option+Windows+D")), expected);
}

}  // namespace
}  // namespace quillmere
