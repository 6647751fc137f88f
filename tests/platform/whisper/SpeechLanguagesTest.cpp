#include "domain/catalogs/SpeechLanguages.h"

#include <gtest/gtest.h>
#include <whisper.h>

#include "domain/catalogs/LanguageData.h"

namespace quillmere {
namespace {

// The engine takes a code that it doesn't know for a failure of the whole run.
TEST(SpeechLanguages, AreThoseThatTheEngineKnows) {
  for (const auto& language : LanguageData::allLanguages()) {
    const QByteArray plain = language.code.section(u'-', 0, 0).toLatin1();
    EXPECT_EQ(isSpeechLanguage(language.code), plain == "auto" || whisper_lang_id(plain.constData()) >= 0)
        << language.code.toStdString();
  }
  for (int id = 0; id <= whisper_lang_max_id(); ++id)
    EXPECT_TRUE(isSpeechLanguage(QString::fromLatin1(whisper_lang_str(id)))) << whisper_lang_str(id);
  EXPECT_FALSE(isSpeechLanguage(QStringLiteral("klingon")));
}

}  // namespace
}  // namespace quillmere
