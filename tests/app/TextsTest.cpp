#include "app/compose/texts/Texts.h"

#include "base/text/LocalizedText.h"
#include "storage/SettingsTable.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

TEST(TextsTest, LanguageFromTheEnvironment) {
  // LC_ALL, LC_MESSAGES, LANG and LANGUAGE.
  const std::pair<std::array<const char*, 4>, const char*> cases[] = {
      {{"", "", "de_AT@euro", ""}, "de"},
      {{"", "en_GB.UTF-8", "de_DE.UTF-8", ""}, "en"},
      {{"de_CH.UTF-8", "en_GB.UTF-8", "en_US.UTF-8", ""}, "de"},
      {{"", "", "en_US.UTF-8", "fr:de:en"}, "de"},  // the first with a table
      {{"", "", "fr_FR.UTF-8", ""}, "en"},
      {{"POSIX", "", "de_DE", "de"}, "en"},  // the plain locale asks for no language at all
      {{"", "", "C.UTF-8", "de"}, "de"},
      {{"", "", "", "de"}, "en"},
      {{"", "", "desktop", ""}, "en"},
  };
  for (const auto& [values, expected] : cases) {
    QProcessEnvironment environment;
    size_t i = 0;
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG", "LANGUAGE"}) environment.insert(name, values[i++]);
    EXPECT_EQ(Texts::languageFor(environment, {"de", "en"}), expected) << testing::PrintToString(values);
  }
  EXPECT_EQ(Texts::languageFor(QProcessEnvironment(), {"de", "en"}), "en");
}

TEST(TextsTest, EverySettingIsDescribed) {
  const TestTexts texts;
  for (const SettingDefinition& definition : settingsTable)
    EXPECT_NE(localizedText(definition.descriptionKey()), definition.descriptionKey()) << definition.key;
}

}  // namespace
}  // namespace quillmere
