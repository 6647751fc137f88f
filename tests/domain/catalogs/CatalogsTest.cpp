#include "domain/catalogs/LanguageData.h"
#include "domain/catalogs/PostProcessingModelCatalog.h"
#include "domain/catalogs/STTCatalog.h"
#include "domain/catalogs/TranscriptionModelCatalog.h"

namespace quillmere {
namespace {

TEST(TranscriptionModelCatalogTest, EveryProviderHasItsDefaultAndEveryModelItsOwnId) {
  QSet<QString> ids;
  for (const auto& model : TranscriptionModelCatalog::all()) {
    EXPECT_FALSE(ids.contains(model.id)) << qPrintable(model.id);
    ids << model.id;
  }
  for (const auto provider : allCases<CloudProvider>()) {
    const auto model = TranscriptionModelCatalog::model(TranscriptionModelCatalog::defaultModel(provider));
    ASSERT_TRUE(model) << qPrintable(rawValue(provider));
    if (provider != CloudProvider::quillmere) {
      EXPECT_EQ(model->provider, provider);
    }
  }
}

TEST(STTCatalogTest, EveryLanguageOfAModelStandsOnceAndHasAName) {
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

TEST(PostProcessingModelCatalogTest, EveryProviderHasItsDefault) {
  for (const auto provider : allCases<PostProcessingProvider>()) {
    const auto model = PostProcessingModelCatalog::model(PostProcessingModelCatalog::defaultModel(provider));
    ASSERT_TRUE(model.has_value()) << qPrintable(rawValue(provider));
    EXPECT_EQ(model->provider, provider);
  }
}

TEST(LanguageDataTest, NamesForAnySpellingOfACode) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "Automatic"}, {"HI_LATN", "Hindi (Latin)"}, {"es-LATAM", "Spanish (LatAm)"}, {"EN", "English"}};
  for (const auto& [code, name] : cases)
    EXPECT_EQ(LanguageData::displayName(QString::fromLatin1(code)), QString::fromLatin1(name)) << code;
  EXPECT_EQ(LanguageData::displayName("de-AT"), std::nullopt);
}

}  // namespace
}  // namespace quillmere
