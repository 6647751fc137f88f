#include "domain/catalogs/STTCatalog.h"

#include "domain/catalogs/LanguageData.h"
#include "domain/catalogs/TranscriptionModelCatalog.h"

namespace quillmere {
namespace {

constexpr const char* everyLanguage = nullptr;
constexpr const char* englishCodes = "en";
constexpr const char* americanEnglishCodes = "en en-US";
constexpr const char* nova3Codes =
    "auto en en-US en-AU en-GB en-IN en-NZ es es-419 fr fr-CA de nl sv sv-SE da da-DK pt pt-BR pt-PT it tr no id "
    "hi ru ja";
constexpr const char* englishVariantsCodes = "en en-US en-AU en-CA en-GB en-IE en-IN en-NZ";
constexpr const char* nova2Codes =
    "auto bg ca zh zh-CN zh-Hans zh-TW zh-Hant zh-HK cs da da-DK nl nl-BE en en-US en-AU en-GB en-NZ en-IN et fi "
    "fr fr-CA de de-CH el hi hu id it ja ko ko-KR lv lt ms no pl pt pt-BR pt-PT ro ru sk es es-419 sv sv-SE th "
    "th-TH tr uk vi";
constexpr const char* nova1Codes = "en en-US en-AU en-GB en-NZ en-IN es es-419 hi-Latn";
constexpr const char* enhancedCodes = "da nl en en-US fr de hi it ja ko no pl pt pt-BR pt-PT es es-419 sv taq ta";
constexpr const char* baseCodes =
    "zh zh-CN zh-TW da nl en en-US fr fr-CA de hi hi-Latn id it ja ko no pl pt pt-BR pt-PT ru es es-419 es-LATAM "
    "sv taq tr uk";
constexpr const char* universalCodes =
    "auto en es fr de it pt nl hi ja zh fi ko pl ru tr uk vi af sq am ar hy as az ba eu be bn bs br bg my ca hr "
    "cs da et fo gl ka el gu ht ha haw he hu is id jw kn kk km lo la lv ln lt lb mk mg ms ml mt mi mr mn ne no nn "
    "oc pa ps fa ro sa sr sn sd si sk sl so su sw sv tl tg ta tt te th bo tk ur uz cy yi yo";
constexpr const char* voxtralCodes = "auto en es fr pt hi de nl it";

constexpr const char* promptNote = "Custom vocabulary is sent as a hint in the prompt.";
constexpr const char* keytermNote = "Supports custom vocabulary when a language is chosen.";
constexpr const char* keywordNote = "Supports custom vocabulary with keyword boosting.";
constexpr const char* noVocabularyNote = "Does not support custom vocabulary.";
constexpr const char* keytermPromptingNote = "Supports custom vocabulary with keyterm prompting (up to 100 terms).";

struct ModelRow {
  const char* ids;  // separated by blanks; they share what follows
  const char* languageCodes;
  const char* notes;
};

struct ProviderRow {
  CloudProvider provider;
  const char* authKeyName;
  const char* lastVerifiedAt;
  std::vector<ModelRow> models;
};

std::vector<ProviderRow> providerRows() {
  using P = CloudProvider;
  return {
      {P::openai,
       "OpenAI",
       "2025-09-17",
       {{"gpt-4o-transcribe gpt-4o-mini-transcribe whisper-1", everyLanguage, promptNote}}},
      {P::groq, "Groq", "2025-09-17", {{"whisper-large-v3-turbo whisper-large-v3", everyLanguage, promptNote}}},
      {P::fireworks, "Fireworks", "2025-09-17", {{"whisper-v3 whisper-v3-turbo", everyLanguage, promptNote}}},
      {P::deepgram,
       "Deepgram",
       "2025-09-17",
       {{"nova-3-general", nova3Codes, keytermNote},
        {"nova-3-medical", englishVariantsCodes, keytermNote},
        {"nova-2-general", nova2Codes, keywordNote},
        {"nova-2-meeting nova-2-phonecall nova-2-voicemail nova-2-finance nova-2-conversationalai nova-2-medical "
         "nova-2-video nova-2-drivethru nova-2-automotive nova-2-atc",
         americanEnglishCodes, keywordNote},
        {"nova", nova1Codes, keywordNote},
        {"nova-phonecall", americanEnglishCodes, keywordNote},
        {"enhanced-general", enhancedCodes, keywordNote},
        {"enhanced-meeting enhanced-phonecall enhanced-finance", americanEnglishCodes, keywordNote},
        {"base-general", baseCodes, noVocabularyNote},
        {"base-meeting base-phonecall base-voicemail base-finance base-conversationalai base-video",
         americanEnglishCodes, noVocabularyNote},
        {"whisper-tiny whisper-base whisper-small whisper-medium whisper-large", everyLanguage, noVocabularyNote}}},
      {P::assemblyAI,
       "AssemblyAI",
       "2025-09-17",
       {{"universal", universalCodes, noVocabularyNote}, {"slam-1", englishCodes, noVocabularyNote}}},
      {P::elevenLabs,
       "ElevenLabs",
       "2025-09-22",
       {{"scribe_v1", everyLanguage, noVocabularyNote}, {"scribe_v2", everyLanguage, keytermPromptingNote}}},
      {P::mistral, "Mistral", "2025-11-27", {{"voxtral-mini-latest", voxtralCodes, noVocabularyNote}}},
  };
}

// Where this catalogue names a model otherwise than the model table, or the table doesn't have it.
QString modelDisplayName(CloudProvider provider, const QString& id) {
  static constexpr std::pair<const char*, const char*> own[] = {
      {"nova-3-general", "Nova-3 General"}, {"nova-3-medical", "Nova-3 Medical"},
      {"nova-2-general", "Nova-2 General"}, {"nova-2-drivethru", "Nova-2 Drive Thru"},
      {"nova-2-atc", "Nova-2 ATC"},
  };
  for (const auto& [ownId, name] : own)
    if (id == QLatin1String(ownId)) return QString::fromLatin1(name);
  for (const CloudTranscriptionModel& model : TranscriptionModelCatalog::models(provider))
    if (model.id == id) return model.displayName;
  return id;
}

std::vector<STTLanguageSpec> languageSpecs(const char* codes) {
  QStringList list;
  if (codes == everyLanguage) {
    list << QStringLiteral("auto");
    for (const LanguageData::LanguageInfo& language : LanguageData::baseLanguages()) list << language.code;
  } else {
    list = QString::fromLatin1(codes).split(u' ');
  }
  list.removeDuplicates();
  std::vector<STTLanguageSpec> specs;
  for (const QString& code : list) specs.push_back({code, LanguageData::displayName(code).value_or(code)});
  return specs;
}

std::vector<STTProviderSpec> makeProviders() {
  std::vector<STTProviderSpec> providers;
  for (const ProviderRow& row : providerRows()) {
    STTProviderSpec provider{rawValue(row.provider),
                             displayName(row.provider),
                             QString::fromLatin1(row.authKeyName),
                             QString::fromLatin1(row.lastVerifiedAt),
                             {}};
    for (const ModelRow& models : row.models) {
      const std::vector<STTLanguageSpec> languages = languageSpecs(models.languageCodes);
      for (const QString& id : QString::fromLatin1(models.ids).split(u' '))
        provider.models.push_back(
            {id, modelDisplayName(row.provider, id), languages, QString::fromLatin1(models.notes)});
    }
    providers.push_back(std::move(provider));
  }
  return providers;
}

}  // namespace

const std::vector<STTProviderSpec>& STTCatalog::providers() {
  static const std::vector<STTProviderSpec> providers = makeProviders();
  return providers;
}

const STTProviderSpec* STTCatalog::provider(const QString& id) {
  for (const STTProviderSpec& candidate : providers())
    if (candidate.id == id) return &candidate;
  return nullptr;
}

const STTModelSpec* STTCatalog::model(const QString& providerId, const QString& modelId) {
  const STTProviderSpec* spec = provider(providerId);
  if (!spec) return nullptr;
  for (const STTModelSpec& candidate : spec->models)
    if (candidate.id == modelId) return &candidate;
  return nullptr;
}

}  // namespace quillmere
