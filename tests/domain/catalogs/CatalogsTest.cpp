#include "base/text/LocalizedText.h"
#include "domain/ModeData.h"
#include "domain/catalogs/LanguageData.h"
#include "domain/catalogs/PostProcessingModelCatalog.h"
#include "domain/catalogs/STTCatalog.h"
#include "domain/catalogs/TranscriptionModelCatalog.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

TEST(TranscriptionModelCatalogTest, EveryProviderHasItsDefaultAndEveryModelItsOwnId) {
  QSet<QString> ids;
  for (const auto& model : TranscriptionModelCatalog::all()) {
    EXPECT_FALSE(ids.contains(model.id)) << qPrintable(model.id);
    ids << model.id;
    EXPECT_TRUE(model.description.endsWith(u'.')) << qPrintable(model.id);
    EXPECT_EQ(TranscriptionModelCatalog::model(model.id)->id, model.id);
  }
  for (const auto provider : allCases<CloudProvider>()) {
    const auto model = TranscriptionModelCatalog::model(TranscriptionModelCatalog::defaultModel(provider));
    ASSERT_TRUE(model) << qPrintable(rawValue(provider));
    if (provider != CloudProvider::quillmere) {
      EXPECT_EQ(model->provider, provider);
    }
  }
  EXPECT_EQ(TranscriptionModelCatalog::model("no such model"), std::nullopt);
}

TEST(STTCatalogTest, EveryLanguageOfAModelStandsOnceAndHasAName) {
  EXPECT_EQ(STTCatalog::provider("quillmere"), nullptr);
  for (const STTProviderSpec& provider : STTCatalog::providers())
    for (const STTModelSpec& model : provider.models) {
      QSet<QString> codes;
      for (const STTLanguageSpec& language : model.languages) {
        EXPECT_FALSE(codes.contains(language.code)) << qPrintable(model.id) << ' ' << qPrintable(language.code);
        EXPECT_NE(language.displayName, language.code) << qPrintable(model.id) << ' ' << qPrintable(language.code);
        codes << language.code;
      }
    }
}

TEST(PostProcessingModelCatalogTest, EveryProviderHasItsDefaultAndEveryModelItsDescription) {
  for (const auto provider : allCases<PostProcessingProvider>()) {
    const auto model = PostProcessingModelCatalog::model(PostProcessingModelCatalog::defaultModel(provider));
    ASSERT_TRUE(model.has_value()) << qPrintable(rawValue(provider));
    EXPECT_EQ(model->provider, provider);
  }
  for (const char* language : {"en", "de"}) {
    const TestTexts texts(QString::fromLatin1(language));
    for (const auto& model : PostProcessingModelCatalog::all())
      EXPECT_NE(model.description(), model.descriptionKey) << language;
  }
}

TEST(LanguageDataTest, NamesForAnySpellingOfACode) {
  const std::pair<const char*, const char*> cases[] = {{"auto", "Automatic"},
                                                       {"", "Automatic"},
                                                       {"hi-latn", "Hindi (Latin)"},
                                                       {"HI_LATN", "Hindi (Latin)"},
                                                       {"es-LATAM", "Spanish (LatAm)"},
                                                       {"ES_latam", "Spanish (LatAm)"},
                                                       {"zh-tw", "Chinese (Traditional)"},
                                                       {"zh_CN", "Chinese (Simplified, China)"},
                                                       {"EN", "English"},
                                                       {"yue", "Cantonese"}};
  for (const auto& [code, name] : cases)
    EXPECT_EQ(LanguageData::displayName(QString::fromLatin1(code)), QString::fromLatin1(name)) << code;
  for (const char* unknown : {"xx", "tlh", "de-AT", "-"})
    EXPECT_EQ(LanguageData::displayName(QString::fromLatin1(unknown)), std::nullopt) << unknown;
}

}  // namespace
}  // namespace quillmere
