#include "domain/ModeData.h"

namespace quillmere {
namespace {

TEST(ModeDataTest, PostProcessingFollowsTheStoredNumber) {
  struct Case {
    std::optional<qint16> number;
    std::optional<QString> provider;
    PostProcessingMode mode;
    const char* expectedProvider;
  };
  const Case cases[] = {
      {std::nullopt, std::nullopt, PostProcessingMode::off, "openai"},
      {1, "anthropic", PostProcessingMode::cloud, "anthropic"},
      {2, "openai", PostProcessingMode::local, "local_gemma"},
      {7, std::nullopt, PostProcessingMode::cloud, "quillmere"},
  };
  for (const Case& c : cases) {
    Mode mode;
    mode.postProcessingMode = c.number;
    mode.postProcessingProvider = c.provider;
    mode.cloudAccuracyTier = "from a later version";
    const ModeData data = modeDataFrom(mode);
    EXPECT_EQ(data.postProcessingMode, c.mode);
    EXPECT_EQ(data.postProcessingProvider, c.expectedProvider);
    EXPECT_EQ(data.cloudAccuracyTier, CloudAccuracyTier::high);
  }
}

TEST(ModeDataTest, LanguagesOnTheWayInAndOut) {
  struct Case {
    std::optional<QString> stored;
    const char* loaded;
  };
  for (const Case& c : {Case{std::nullopt, "en"}, Case{"", "en"}, Case{"   ", "auto"}, Case{"PT_br", "pt-BR"}}) {
    Mode mode;
    mode.language = c.stored;
    EXPECT_EQ(modeDataFrom(mode).language, c.loaded);
    ModeData edited;
    edited.language = c.stored.value_or(QString());
    applyTo(edited, mode);
    EXPECT_EQ(mode.language, QString::fromLatin1(c.loaded));
  }
}

TEST(ModeDataTest, TheUserSystemPromptIsCountedInCharactersAsPeopleSeeThem) {
  const QString family = "👩‍👩‍👧";
  Mode mode;
  mode.userSystemPrompt = family.repeated(2001);
  EXPECT_EQ(modeDataFrom(mode).userSystemPrompt, family.repeated(2000));

  EXPECT_EQ(normalizedUserSystemPrompt(" \n\t "), std::nullopt);
  // White space goes first, so that it doesn't use up the room.
  EXPECT_EQ(normalizedUserSystemPrompt(QString(5, u' ') + QString(2001, u'x')), QString(2000, u'x'));
}

TEST(ModeDataTest, SavingWritesWhatLoadingReads) {
  Mode source;
  source.id = QUuid::createUuid();
  source.name = "Mail";
  source.preset = "mail";
  source.language = "de";
  source.model = "cloud";
  source.punctuation = true;
  source.capitalization = true;
  source.profanityFilter = true;
  source.customInstructions = "short";
  source.userSystemPrompt = "be kind";
  source.languageModel = "gemini-2.5-flash";
  source.cloudProvider = "mistral";
  source.cloudTranscriptionModel = "voxtral-mini-latest";
  source.postProcessingMode = 1;
  source.postProcessingProvider = "gemini";
  source.englishSpelling = "british";
  source.useStreamingTranscription = true;
  source.cloudAccuracyTier = "medium";
  Mode copy;
  copy.id = source.id;
  applyTo(modeDataFrom(source), copy);
  EXPECT_EQ(copy, source);

  ModeData cleared = modeDataFrom(source);
  cleared.userSystemPrompt = "  ";
  applyTo(cleared, copy);
  EXPECT_EQ(copy.userSystemPrompt, std::nullopt);
}

TEST(ModeDataTest, EnglishOnlyModels) {
  for (const char* yes : {"small.en", "ggml-base.en", "parakeet-tdt-0.6b-v2", "Parakeet-TDT-0.6B-V2"})
    EXPECT_TRUE(isEnglishOnlyModel(QString::fromLatin1(yes))) << yes;
  for (const char* no : {"small", "Parakeet-TDT-0.6B-V3", "large-v2", "cloud", "small.EN", "", "my-parakeet-v2"})
    EXPECT_FALSE(isEnglishOnlyModel(QString::fromLatin1(no))) << no;
}

TEST(LanguageCodeTest, Normalisation) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "auto"},       {" EN \n", "en"},       {"sr_Latn_RS", "sr-Latn-RS"},
      {"PT_br", "pt-BR"}, {"hi-latn", "hi-Latn"}, {"--de--at-", "de-AT"},
      {"_", "-"},
  };
  for (const auto& [code, expected] : cases)
    EXPECT_EQ(normalizeLanguageCode(QString::fromLatin1(code)), QString::fromLatin1(expected)) << code;
}

}  // namespace
}  // namespace quillmere
