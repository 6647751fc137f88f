#include <QFile>

#include "base/text/LocalizedText.h"
#include "storage/SettingsTable.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

QString describe(const QString& key) {
  return localizedText(key);
}

// After a change of the table: with UPDATE_DOCUMENTS=1 in the environment this writes the page anew.
TEST(SettingsDocumentTest, ThePageIsWhatTheTableSays) {
  const TestTexts english;
  const QByteArray page = renderSettingsDocument(&describe).toUtf8();
  QFile file(qEnvironmentVariable("QUILLMERE_SOURCE_DIR") + "/docs/settings.md");
  if (qEnvironmentVariableIsSet("UPDATE_DOCUMENTS")) {
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(page);
    file.close();
  }
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  EXPECT_EQ(file.readAll(), page);
}

TEST(SettingsDocumentTest, EverySettingIsDescribedInEveryLanguage) {
  for (const QString& language : {QString("en"), QString("de")}) {
    const TestTexts texts(language);
    for (const SettingDefinition& definition : settingsTable)
      EXPECT_NE(localizedText(definition.descriptionKey()), definition.descriptionKey()) << language.toStdString();
  }
}

}  // namespace
}  // namespace quillmere
