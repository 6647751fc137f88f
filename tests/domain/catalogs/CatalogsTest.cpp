#include "base/text/LocalizedText.h"
#include "domain/ModeData.h"
#include "domain/catalogs/LanguageData.h"
#include "domain/catalogs/PostProcessingModelCatalog.h"
#include "domain/catalogs/STTCatalog.h"
#include "domain/catalogs/TranscriptionModelCatalog.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

QStringList codes(const STTModelSpec* model) {
  QStringList list;
  if (model)
    for (const STTLanguageSpec& language : model->languages) list << language.code;
  return list;
}

TEST(TranscriptionModelCatalogTest, RowsByProvider) {
  const std::pair<CloudProvider, size_t> counts[] = {{CloudProvider::quillmere, 0},  {CloudProvider::openai, 4},
                                                     {CloudProvider::groq, 2},       {CloudProvider::fireworks, 2},
                                                     {CloudProvider::deepgram, 29},  {CloudProvider::assemblyAI, 2},
                                                     {CloudProvider::elevenLabs, 2}, {CloudProvider::mistral, 1}};
  size_t total = 0;
  for (const auto& [provider, count] : counts) {
    const auto models = TranscriptionModelCatalog::models(provider);
    EXPECT_EQ(models.size(), count) << qPrintable(rawValue(provider));
    total += models.size();
    const auto isDefault = [&](const auto& m) { return m.id == TranscriptionModelCatalog::defaultModel(provider); };
    EXPECT_EQ(std::any_of(models.begin(), models.end(), isDefault), provider != CloudProvider::quillmere);
  }
  EXPECT_EQ(total, TranscriptionModelCatalog::all().size());
  QSet<QString> texts;
  for (const auto& model : TranscriptionModelCatalog::all()) {
    EXPECT_TRUE(model.isAvailable);
    EXPECT_TRUE(model.description.endsWith(u'.')) << qPrintable(model.id);
    EXPECT_EQ(model.pricePerSecond.has_value(), model.provider != CloudProvider::elevenLabs);
    texts << model.id << model.description;
  }
  EXPECT_EQ(texts.size(), 84);
}

TEST(TranscriptionModelCatalogTest, PricesAreASecondOfAudio) {
  EXPECT_DOUBLE_EQ(*TranscriptionModelCatalog::model("whisper-1")->pricePerSecond, 0.006 / 60);
  EXPECT_DOUBLE_EQ(*TranscriptionModelCatalog::model("whisper-large-v3")->pricePerSecond, 0.111 / 3600);
  EXPECT_DOUBLE_EQ(*TranscriptionModelCatalog::model("enhanced-general")->pricePerSecond, 0.0145 / 60);
  EXPECT_EQ(TranscriptionModelCatalog::model("nova-2-drivethru"), std::nullopt);
  EXPECT_EQ(TranscriptionModelCatalog::defaultModel(CloudProvider::quillmere), "whisper-large-v3-turbo");
}

TEST(STTCatalogTest, DiffersFromTheModelTableByThreeIds) {
  QSet<QString> catalog;
  for (const STTProviderSpec& provider : STTCatalog::providers())
    for (const STTModelSpec& model : provider.models) catalog << model.id;
  QSet<QString> table;
  for (const auto& model : TranscriptionModelCatalog::all()) table << model.id;
  EXPECT_EQ(catalog - table, (QSet<QString>{"nova-2-drivethru", "nova-2-atc"}));
  EXPECT_EQ(table - catalog, (QSet<QString>{"gpt-4o-mini-transcribe-2025-12-15"}));
}

TEST(STTCatalogTest, LanguagesAndNamesOfTheModels) {
  EXPECT_EQ(STTCatalog::provider("quillmere"), nullptr);
  EXPECT_EQ(STTCatalog::model("deepgram", "nova-2-atc")->displayName, "Nova-2 ATC");
  EXPECT_EQ(STTCatalog::model("groq", "whisper-large-v3")->displayName, "Whisper Large v3");
  EXPECT_EQ(codes(STTCatalog::model("assemblyai", "slam-1")), QStringList{"en"});
  EXPECT_EQ(codes(STTCatalog::model("deepgram", "nova-2-atc")), (QStringList{"en", "en-US"}));
  EXPECT_EQ(codes(STTCatalog::model("deepgram", "nova-3-medical")),
            (QStringList{"en", "en-US", "en-AU", "en-CA", "en-GB", "en-IE", "en-IN", "en-NZ"}));
  const QStringList all = codes(STTCatalog::model("openai", "whisper-1"));
  EXPECT_EQ(all.size(), 102);
  EXPECT_EQ(all.first(), "auto");
  EXPECT_EQ(all.last(), "yo");
  EXPECT_EQ(codes(STTCatalog::model("elevenlabs", "scribe_v1")), all);
  EXPECT_EQ(codes(STTCatalog::model("assemblyai", "universal")).size(), 100);
  EXPECT_TRUE(codes(STTCatalog::model("deepgram", "base-general")).contains("es-LATAM"));
  for (const STTProviderSpec& provider : STTCatalog::providers())
    for (const STTModelSpec& model : provider.models) {
      QStringList list = codes(&model);
      EXPECT_EQ(list.removeDuplicates(), 0) << qPrintable(model.id);
      for (const STTLanguageSpec& language : model.languages)
        EXPECT_NE(language.displayName, language.code) << qPrintable(model.id) << ' ' << qPrintable(language.code);
    }
}

TEST(PostProcessingModelCatalogTest, EveryProviderHasItsDefaultAndEveryModelItsDescription) {
  EXPECT_EQ(PostProcessingModelCatalog::all().size(), 24U);
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
  EXPECT_EQ(PostProcessingModelCatalog::models(PostProcessingProvider::openai).size(), 8U);
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
