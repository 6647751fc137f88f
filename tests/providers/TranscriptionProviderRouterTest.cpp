#include "providers/TranscriptionProviderRouter.h"

#include <gtest/gtest.h>

#include "support/FakeErrorReporting.h"
#include "support/FakeNetworkStatus.h"
#include "support/FakeProviders.h"
#include "support/LocalEngineFixture.h"

namespace quillmere {
namespace {

using E = TranscriptionError;

struct RouterFixture : LocalEngineFixture {
  explicit RouterFixture(const QStringList& models = {"ggml-base.bin"}) : LocalEngineFixture(models) {
    engines.localProvider = provider.get();
    engines.apiKeys = &keys;
    engines.health = &health;
    engines.hostedFactory = &hosted;
    for (const auto service : {CloudProvider::openai, CloudProvider::groq, CloudProvider::fireworks})
      engines.cloudEngines[service] = &whisper;
    engines.cloudEngines[CloudProvider::deepgram] = &deepgram;
    for (const char* key : {"openai", "groq", "deepgram", "mistral"})
      keys.keys.insert(QString::fromLatin1(key), QStringLiteral("key of ") + QString::fromLatin1(key));
  }

  // The chosen engine's name, or the error as "code: words".
  QString select(const ModePtr& mode) {
    TranscriptionProviderRouter router(engines, network, &reporting, logging);
    return describe(runTask(executor, router.selectProvider(mode)));
  }
  static QString describe(const Result<ChosenEngine, AnyError>& chosen) {
    return chosen ? chosen->provider->name() + u' ' + chosen->model + chosen->apiKey : describe(chosen.error());
  }
  // What is said before: "" where the mode can run.
  QString why(const ModePtr& mode) {
    const TranscriptionProviderRouter router(engines, network, &reporting, logging);
    const auto problem = router.whyModeCannotRun(mode.get());
    return problem ? describe(AnyError(*problem)) : QString();
  }
  static QString describe(const AnyError& error) {
    const auto& kind = std::get<E>(error).kind;
    QString words;
    if (const auto* e = std::get_if<E::ProviderNotAvailable>(&kind))
      words = *e->provider + QStringLiteral(", ") + *e->reason;
    if (const auto* e = std::get_if<E::ApiKeyMissing>(&kind)) words = *e->provider;
    if (const auto* e = std::get_if<E::Unauthorized>(&kind)) words = *e->provider;
    if (const auto* e = std::get_if<E::NetworkError>(&kind)) words = *e->details;
    if (const auto* e = std::get_if<E::ModelNotDownloaded>(&kind)) words = e->model.value_or(QString());
    return classify(error).code + (words.isEmpty() ? QString() : QStringLiteral(": ") + words);
  }

  static ModePtr cloudMode(std::optional<QString> service, const QString& model = "cloud") {
    auto mode = std::make_shared<Mode>();
    mode->model = model;
    mode->cloudProvider = std::move(service);
    return mode;
  }
  static ModePtr localMode(const QString& model) { return cloudMode(std::nullopt, model); }

  TranscriptionEngines engines;
  FakeApiKeys keys;
  FakeProviderHealth health;
  FakeHostedFactory hosted;
  FakeSpeechService whisper{"Cloud Whisper"};
  FakeSpeechService deepgram{"Deepgram"};
  FakeParakeetEngine parakeet;
  FakeNetworkStatus network;
  FakeErrorReporting reporting;
};

TEST(TranscriptionProviderRouter, ChoosesTheCloudEngineOfTheMode) {
  struct Case {
    std::optional<QString> service;
    const char* model;
    const char* expected;  // with the key that goes into the request
  };
  const char* const notReady = "provider_not_available: Mistral, Provider is not configured or ready";
  const std::vector<Case> table{
      {std::nullopt, "cloud", "Cloud Whisper key of openai"}, {"nonsense", "Cloud", "Cloud Whisper key of openai"},
      {"groq", "CLOUD", "Cloud Whisper key of groq"},         {"fireworks", "cloud", "api_key_missing: Fireworks AI"},
      {"deepgram", "cloud", "Deepgram key of deepgram"},      {"mistral", "cloud", notReady},
      {"elevenlabs", "cloud", "api_key_missing: ElevenLabs"}, {"quillmere", "cloud", "Quillmere Cloud "},
  };
  for (const Case& c : table) {
    RouterFixture f;
    const ModePtr mode = RouterFixture::cloudMode(c.service, QString::fromLatin1(c.model));
    const QString expected = QString::fromLatin1(c.expected);
    EXPECT_EQ(f.select(mode), expected);
    EXPECT_EQ(f.why(mode), expected.contains(QLatin1String(": ")) ? expected : QString());
  }
}

TEST(TranscriptionProviderRouter, RefusesInTheRightOrder) {
  const auto mode = RouterFixture::cloudMode("openai");
  RouterFixture f;
  f.network.online = false;
  EXPECT_EQ(f.select(mode), "network_error: No internet connection");
  const int asked = f.health.questions;
  EXPECT_EQ(f.why(mode), "network_error: No internet connection");
  EXPECT_EQ(f.health.questions, asked) << "no service is asked beforehand";
  f.whisper.available = false;
  EXPECT_EQ(f.select(mode), "provider_not_available: Cloud Whisper, Provider is not configured or ready");
  EXPECT_EQ(f.reporting.messages.size(), 1U);
  f.health.speech[CloudProvider::openai] = ProviderHealth::unauthorized;
  EXPECT_EQ(f.select(mode), "unauthorized: OpenAI");
  const int questions = f.health.questions;
  f.keys.keys.clear();
  EXPECT_EQ(f.select(mode), "api_key_missing: OpenAI");
  EXPECT_EQ(f.health.questions, questions);
  f.engines.apiKeys = nullptr;
  EXPECT_EQ(f.select(RouterFixture::cloudMode("quillmere")), "api_key_missing: Quillmere Cloud");
}

TEST(TranscriptionProviderRouter, MakesTheHostedProviderOnce) {
  RouterFixture f;
  const auto mode = RouterFixture::cloudMode("quillmere");
  TranscriptionProviderRouter router(f.engines, f.network, &f.reporting, f.logging);
  f.hosted.makes = false;
  EXPECT_EQ(RouterFixture::describe(runTask(f.executor, router.selectProvider(mode))),
            "provider_not_available: Quillmere Cloud, Failed to initialize provider");
  f.hosted.makes = true;
  const auto first = runTask(f.executor, router.selectProvider(mode));
  const auto second = runTask(f.executor, router.selectProvider(mode));
  ASSERT_TRUE(first && second);
  EXPECT_EQ(first->provider, second->provider);
  EXPECT_EQ(f.hosted.made, 1);
}

TEST(TranscriptionProviderRouter, ChoosesTheLocalModelOfTheMode) {
  struct Case {
    const char* model;
    const char* expected;
    const char* language = "de";
  };
  const std::vector<Case> table{
      {"base", "Local Whisper base"},
      {"base", "Local Whisper base", "en-GB"},  // its sister is there, too
      {"base", "provider_not_available: Local Whisper, models.error.languageUnknown", "yue"},
      {"base", "provider_not_available: Local Whisper, models.error.languageUnknown", "taq"},
      {"large-v3_turbo", "Local Whisper large-v3_turbo", "yue"},
      {"tiny", "Local Whisper tiny.en", "en"},  // it alone is on the disk
      {"tiny", "model_not_downloaded: tiny"},
      {"whisper-large-v3-turbo-custom", "Local Whisper large-v3_turbo"},
      {"small", "model_not_downloaded: small", "en"},
      {"medizin-small", "Local Whisper medizin-small"},  // the user's own file wins over the rules
      {"parakeet-tdt-0.6b-v3", "Parakeet TDT parakeet-tdt-0.6b-v3"},
      {"Parakeet-TDT-0.6b-V2", "model_not_downloaded: Parakeet-TDT-0.6b-V2"},
      {"parakeet-other", "Local Whisper base"},
  };
  for (const Case& c : table) {
    RouterFixture f({"ggml-base.bin", "ggml-base.en.bin", "ggml-tiny.en.bin", "ggml-large-v3-turbo.bin",
                     "custom/medizin-small.bin"});
    f.parakeet.onDisk = {AsrModelVersion::v3};
    f.engines.parakeet = &f.parakeet;
    const ModePtr mode = RouterFixture::localMode(QString::fromLatin1(c.model));
    mode->language = QString::fromLatin1(c.language);
    const QString expected = QString::fromLatin1(c.expected);
    EXPECT_EQ(f.select(mode), expected) << c.model;
    EXPECT_EQ(f.why(mode), expected.contains(QLatin1String(": ")) ? expected : QString()) << c.model;
  }
}

TEST(TranscriptionProviderRouter, FallsBackToBaseAlsoWithoutItsFile) {
  RouterFixture f(QStringList{});
  const ModePtr unknown = RouterFixture::localMode("zzz");
  EXPECT_EQ(f.select(unknown), "Local Whisper base");
  EXPECT_EQ(f.why(unknown), "model_not_downloaded: base");
  EXPECT_EQ(f.select(nullptr), "model_not_downloaded: base");
  f.engine.unsupported = "This processor has no AVX2.";
  EXPECT_EQ(f.why(nullptr), "provider_not_available: Local Whisper, This processor has no AVX2.");
  f.parakeet.onDisk = {AsrModelVersion::v3};
  f.parakeet.prepareError = AnyError(E{E::Timeout{"load"}});
  f.engines.parakeet = &f.parakeet;
  EXPECT_EQ(f.select(RouterFixture::localMode("parakeet-tdt-x")), "timeout");
  f.engines.localProvider = nullptr;  // tested first, for every local model
  EXPECT_EQ(f.select(RouterFixture::localMode("parakeet-tdt-x")),
            "provider_not_available: Local Whisper, Local provider not initialized");
}

}  // namespace
}  // namespace quillmere
