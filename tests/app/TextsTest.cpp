#include "app/texts/Texts.h"

#include "base/text/LocalizedText.h"
#include "storage/SettingsTable.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

TEST(TextsTest, LanguageFromTheEnvironment) {
  struct Case {
    const char* lcAll;
    const char* lcMessages;
    const char* lang;
    const char* languageList;
    const char* expected;
  };
  const Case cases[] = {
      {"", "", "de_DE.UTF-8", "", "de"},
      {"", "", "de_AT@euro", "", "de"},
      {"", "", "de", "", "de"},
      {"", "en_GB.UTF-8", "de_DE.UTF-8", "", "en"},
      {"de_CH.UTF-8", "en_GB.UTF-8", "en_US.UTF-8", "", "de"},
      {"", "", "en_US.UTF-8", "fr:de:en", "de"},  // the first with a table
      {"", "", "en_US.UTF-8", "fr", "en"},
      {"", "", "fr_FR.UTF-8", "", "en"},
      {"", "", "C", "de", "en"},  // the plain locale asks for no language at all
      {"POSIX", "", "de_DE", "de", "en"},
      {"", "", "C.UTF-8", "de", "de"},
      {"", "", "C.UTF-8", "", "en"},
      {"", "", "", "de", "en"},
      {"", "", "desktop", "", "en"},
  };
  for (const Case& c : cases) {
    QProcessEnvironment environment;
    environment.insert("LC_ALL", c.lcAll);
    environment.insert("LC_MESSAGES", c.lcMessages);
    environment.insert("LANG", c.lang);
    environment.insert("LANGUAGE", c.languageList);
    EXPECT_EQ(Texts::languageFor(environment, {"de", "en"}), c.expected)
        << c.lcAll << '|' << c.lcMessages << '|' << c.lang << '|' << c.languageList;
  }
  EXPECT_EQ(Texts::languageFor(QProcessEnvironment(), {"de", "en"}), "en");
}

TEST(TextsTest, InstallsAndTakesAway) {
  const TestTexts base;  // English, and the application object
  EXPECT_EQ(Texts::available(), (QStringList{"de", "en"}));
  {
    const Texts german("de");
    EXPECT_EQ(german.language(), "de");
    EXPECT_EQ(localizedText("common.cancel"), "Abbrechen");
  }
  EXPECT_EQ(localizedText("common.cancel"), "Cancel");
  const Texts unknown("xx");
  EXPECT_EQ(unknown.language(), "en");
  EXPECT_EQ(localizedText("common.cancel"), "Cancel");
}

TEST(TextsTest, EverySettingIsDescribedInEveryLanguage) {
  for (const char* language : {"en", "de"}) {
    const TestTexts texts{QString(language)};
    EXPECT_EQ(localizedText("no.such.key", "argument"), "no.such.key");
    for (const SettingDefinition& definition : settingsTable)
      EXPECT_NE(localizedText(definition.descriptionKey()), definition.descriptionKey()) << language;
  }
}

}  // namespace
}  // namespace quillmere
