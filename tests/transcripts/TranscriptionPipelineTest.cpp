#include "transcripts/TranscriptionPipeline.h"

#include <gtest/gtest.h>

#include "postprocessing/AIPostProcessing.h"
#include "postprocessing/VocabularyProcessor.h"
#include "providers/TranscriptionModelManager.h"
#include "providers/TranscriptionProviderRouter.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "support/FakeDefaultsStore.h"
#include "support/FakeErrorReporting.h"
#include "support/FakeNetworkStatus.h"
#include "support/FakeProviders.h"
#include "support/LocalEngineFixture.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using E = TranscriptionError;

class FakePostProcessor final : public AIPostProcessing {
 public:
  std::vector<PostProcessingRequest> requests;
  std::optional<AnyError> error;
  Duration delay{0};
  Task<Result<QString, AnyError>> postProcessStreaming(PostProcessingRequest request) override {
    requests.push_back(request);
    const QString text = request.text;
    co_await sleepFor(delay);
    if (error) co_return Failed{*error};
    co_return QStringLiteral("Rewritten: ") + text;
  }
};

struct PipelineFixture : LocalEngineFixture {
  PipelineFixture() {
    persistence = std::move(*PersistenceController::open(PersistenceController::inMemory(), clock, logging));
    vocabulary = std::make_unique<VocabularyProcessor>(*persistence, logging);
    TranscriptionEngines engines;
    engines.localProvider = provider.get();
    engines.apiKeys = &keys;
    engines.health = &health;
    engines.hostedFactory = &hosted;
    engines.cloudEngines[CloudProvider::openai] = &cloud;
    keys.keys.insert("openai", "key");
    router = std::make_unique<TranscriptionProviderRouter>(engines, network, &reporting, logging);
    TranscriptionModelServices modelServices;
    modelServices.localProvider = provider.get();
    models = std::make_unique<TranscriptionModelManager>(modelServices, *persistence, 4, logging);
    TranscriptionPipelineServices services{executor,    clock,   *persistence, settings,
                                           *vocabulary, *router, *models,      files};
    services.aiPostProcessor = &rewriter;
    services.errorReporting = &reporting;
    pipeline = std::make_unique<TranscriptionPipeline>(std::move(services), logging);
    subscription = pipeline->observeState([this](const TranscriptionState& state) { states.append(state.text()); });
  }

  static ModePtr mode(const QString& model, std::optional<qint16> postProcessing = std::nullopt,
                      std::optional<QString> postProcessingProvider = std::nullopt) {
    auto result = std::make_shared<Mode>();
    result->name = "Test";
    result->model = model;
    result->postProcessingMode = postProcessing;
    result->postProcessingProvider = std::move(postProcessingProvider);
    return result;
  }
  static ModePtr hostedMode(std::optional<qint16> postProcessing, std::optional<QString> provider = std::nullopt) {
    auto result = mode("cloud", postProcessing, std::move(provider));
    result->cloudProvider = "quillmere";
    return result;
  }
  TranscriptionRequest request(ModePtr mode) const {
    TranscriptionRequest result;
    result.audioPath = audioPath;
    result.mode = std::move(mode);
    return result;
  }
  using Outcome = Result<TranscriptionResult, AnyError>;
  TaskHandle<Outcome> start(ModePtr mode) {
    return scope.spawn(pipeline->transcribeWithDetails(request(std::move(mode))));
  }
  Outcome run(ModePtr mode) { return runTask(executor, pipeline->transcribeWithDetails(request(std::move(mode)))); }
  // "cancelled", the text, or "error" and the code.
  QString end(TaskHandle<Outcome>& handle) {
    try {
      const auto outcome = runTask(executor, handle.join());
      return outcome ? outcome->text : QStringLiteral("error ") + classify(outcome.error()).code;
    } catch (const Cancelled&) {
      return "cancelled";
    }
  }
  // One queued function, one result of a worker or one timer. False: nothing is left.
  bool step() {
    while (executor.queuedCount() == 0 && executor.externalWorkCount() > 0) std::this_thread::yield();
    if (executor.runOne()) return true;
    if (executor.timerCount() == 0) return false;
    executor.advance(1ms);
    return true;
  }

  TestTexts texts;
  FixedClock clock{QDateTime::fromSecsSinceEpoch(1'700'000'000)};
  std::unique_ptr<PersistenceController> persistence;
  std::unique_ptr<VocabularyProcessor> vocabulary;
  FakeDefaultsStore defaults;
  SettingsManager settings{defaults, {}, logging};
  FakeApiKeys keys;
  FakeProviderHealth health;
  FakeHostedFactory hosted;
  FakeSpeechService cloud{"OpenAI Whisper"};
  FakeNetworkStatus network;
  FakeErrorReporting reporting;
  FakePostProcessor rewriter;
  QStringList states;
  std::unique_ptr<TranscriptionProviderRouter> router;
  std::unique_ptr<TranscriptionModelManager> models;
  std::unique_ptr<TranscriptionPipeline> pipeline;
  Subscription subscription;
  TaskScope scope{executor};
};

const QString cloudText = "cloud";

// --- the road of one transcription

TEST(TranscriptionPipeline, DecidesWhatIsDoneWithTheText) {
  struct Case {
    const char* name;
    ModePtr mode;
    std::optional<QString> enhanced;  // by the hosted service
    const char* text;                 // "kuh" is a word of the vocabulary, replaced by "Kuh!"
    bool wasPostProcessed;
    std::optional<QString> provider;
    size_t rewrites;
  };
  const auto none = std::nullopt;
  const QString openai = "openai";
  const QString quillmere = "quillmere";
  const QString gemma = "local_gemma";
  const QString enhanced = "enhanced kuh";
  using F = PipelineFixture;
  const std::vector<Case> table{
      {"off", F::mode(cloudText, 0, openai), none, "eine Kuh!", false, none, 0},
      {"unknown value", F::mode(cloudText, 7, openai), none, "eine Kuh!", false, none, 0},
      {"cloud", F::mode(cloudText, 1, openai), none, "Rewritten:   eine Kuh!", true, openai, 1},
      {"cloud without a provider", F::mode(cloudText, 1), none, "Rewritten:   eine Kuh!", true, quillmere, 1},
      {"local has its own provider", F::mode(cloudText, 2, openai), none, "Rewritten:   eine Kuh!", true, gemma, 1},
      {"unknown provider", F::mode(cloudText, 1, "custom:1"), none, "Rewritten:   eine Kuh!", true, "custom:1", 1},
      {"hosted, enhanced, off", F::hostedMode(0), enhanced, "enhanced Kuh!", true, quillmere, 0},
      {"hosted, enhanced, another", F::hostedMode(1, openai), enhanced, "enhanced Kuh!", true, quillmere, 0},
      {"hosted, plain, itself", F::hostedMode(1), none, "Rewritten:   eine Kuh!", true, quillmere, 1},
      {"hosted, plain, off", F::hostedMode(0), none, "eine Kuh!", false, none, 0},
  };
  for (const Case& c : table) {
    PipelineFixture f;
    f.persistence->addVocabularyItem("kuh", "Kuh!");
    f.cloud.answer.text = QStringLiteral("  eine kuh ");
    f.hosted.answer.text = QStringLiteral("  eine kuh ");
    f.hosted.answer.rewrittenText = c.enhanced;
    auto request = f.request(c.mode);
    size_t told = 0;
    request.onRewriting = [&] { ++told; };
    const auto outcome = runTask(f.executor, f.pipeline->transcribeWithDetails(request));
    ASSERT_TRUE(outcome) << c.name;
    EXPECT_EQ(outcome->text, QString::fromUtf8(c.text)) << c.name;
    EXPECT_EQ(outcome->wasPostProcessed, c.wasPostProcessed) << c.name;
    EXPECT_EQ(outcome->postProcessingProvider, c.provider) << c.name;
    EXPECT_EQ(f.rewriter.requests.size(), c.rewrites) << c.name;
    EXPECT_EQ(told, c.rewrites) << c.name;
    EXPECT_EQ(f.states.contains("post-processing"), c.rewrites > 0) << c.name;
  }
}

TEST(TranscriptionPipeline, TheVocabularyOfTextsThatNothingRewritesIsASetting) {
  PipelineFixture f;
  f.persistence->addVocabularyItem("kuh", "Kuh!");
  f.defaults.setValue("applyVocabularyWithoutRewriting", false);
  f.cloud.answer.text = QStringLiteral("eine kuh");
  EXPECT_EQ(f.run(PipelineFixture::mode(cloudText))->text, "eine kuh");
  EXPECT_EQ(f.run(PipelineFixture::mode(cloudText, 1, "openai"))->text, "Rewritten: eine Kuh!");
}

TEST(TranscriptionPipeline, HandsLanguageContextAndVocabularyOn) {
  const std::vector<std::pair<std::optional<QString>, std::optional<QString>>> table{
      {std::nullopt, std::nullopt}, {"auto", std::nullopt}, {QString(), std::nullopt}, {"zh-Hant", "zh-hant"}};
  PipelineFixture f;
  f.persistence->addVocabularyItem("eins");
  f.persistence->addVocabularyItem("zwei", "Zwei");
  for (const auto& [language, expected] : table) {
    auto mode = PipelineFixture::mode(cloudText);
    mode->language = language;
    ASSERT_TRUE(f.run(mode));
    EXPECT_EQ(f.cloud.requests.back().language, expected);
    EXPECT_EQ(f.cloud.requests.back().vocabulary, (QStringList{"eins", "Zwei"}));
    EXPECT_EQ(f.cloud.requests.back().apiKey, "key");
  }
  auto request = f.request(PipelineFixture::mode(cloudText, 1, "openai"));
  request.selectedText = "marked";
  QStringList written;
  request.onRewrittenText = [&](const QString& text) { written << text; };
  ASSERT_TRUE(runTask(f.executor, f.pipeline->transcribeWithDetails(request)));
  EXPECT_EQ(f.rewriter.requests.back().selectedText, "marked");
  EXPECT_EQ(f.rewriter.requests.back().vocabulary.size(), 2U);
  f.rewriter.requests.back().callbacks.onStreamingTextUpdate("so far");
  EXPECT_EQ(written, QStringList{"so far"});
}

// --- failures and their report

TEST(TranscriptionPipeline, ReportsAFailureUnlessItIsExpectedOrNobodyWantsReports) {
  PipelineFixture f;
  f.cloud.answer.text = Failed{transcriptionError(E::ServerError{503, "overloaded"})};
  ASSERT_FALSE(f.run(PipelineFixture::mode(cloudText)));
  EXPECT_TRUE(f.states.last().startsWith("error: "));
  ASSERT_EQ(f.reporting.reports.size(), 1U);
  EXPECT_EQ(f.reporting.reports[0].options.level, ReportLevel::error);
  EXPECT_EQ(f.reporting.reports[0].options.tags.value("error_stage"), "transcribe");

  f.cloud.answer.text = Failed{transcriptionError(E::NoSpeechDetected{})};
  QFile::remove(f.audioPath);  // the report tells its size
  ASSERT_FALSE(f.run(PipelineFixture::mode(cloudText)));
  EXPECT_EQ(f.reporting.reports.at(1).options.level, ReportLevel::info);
  f.reporting.isOn = false;
  f.reporting.breadcrumbs.clear();
  ASSERT_FALSE(f.run(PipelineFixture::mode(cloudText)));
  EXPECT_EQ(f.reporting.reports.size(), 2U);
  EXPECT_TRUE(f.reporting.breadcrumbs.empty());
}

TEST(TranscriptionPipeline, FailsBeforeAndAfterTheEngine) {
  using F = PipelineFixture;
  struct Case {
    const char* name;
    std::function<void(F&)> arrange;
    ModePtr mode;
    const char* code;
  };
  const ModePtr rewritten = F::mode(cloudText, 1, "openai");
  const std::vector<Case> table{
      {"no key", [](F& f) { f.keys.keys.clear(); }, F::mode(cloudText), "api_key_missing"},
      {"rewriter's health",
       [](F& f) { f.health.postProcessing[PostProcessingProvider::openai] = ProviderHealth::unauthorized; }, rewritten,
       "unauthorized"},
      {"health, although the hosted text would do",
       [](F& f) {
         f.health.postProcessing[PostProcessingProvider::openai] = ProviderHealth::unreachable;
         f.hosted.answer.rewrittenText = "enhanced";
       },
       F::hostedMode(1, "openai"), "network_error"},
      {"rewriter", [](F& f) { f.rewriter.error = transcriptionError(E::StreamingInterrupted{}); }, rewritten,
       "streaming_interrupted"},
  };
  for (const Case& c : table) {
    F f;
    c.arrange(f);
    const auto outcome = f.run(c.mode);
    ASSERT_FALSE(outcome) << c.name;
    EXPECT_EQ(classify(outcome.error()).code, c.code) << c.name;
    EXPECT_EQ(f.reporting.reports.size(), 1U) << c.name;
    EXPECT_TRUE(f.pipeline->state().get().is<TranscriptionState::Error>()) << c.name;
  }
}

// --- races

TEST(TranscriptionPipeline, CallsRunSideBySideAndTheStateIsTheNewestOnes) {
  PipelineFixture f;
  f.cloud.answer.delay = 10s;
  f.cloud.answer.text = QStringLiteral("older");
  auto older = f.start(PipelineFixture::mode(cloudText));
  f.executor.runReady();
  f.hosted.answer.delay = 1s;
  f.hosted.answer.text = Failed{transcriptionError(E::Busy{})};
  auto newer = f.start(PipelineFixture::hostedMode(0));
  f.executor.runReady();
  EXPECT_EQ(f.pipeline->state().get().text(), "transcribing with Quillmere Cloud (10%)");
  EXPECT_EQ(f.end(newer), "error busy");
  EXPECT_EQ(f.pipeline->state().get().text(), "transcribing with OpenAI Whisper (10%)");
  EXPECT_EQ(f.end(older), "older");
  EXPECT_EQ(f.states.last(), "idle");
}

// At whatever point: the call ends as cancelled (or had ended before), one beside it does not, the pipeline rests and
// nothing is reported.
TEST(TranscriptionPipeline, CanBeCancelledAtEveryPoint) {
  const ModePtr cloudMode = PipelineFixture::mode(cloudText, 1, "openai");
  const ModePtr localMode = PipelineFixture::mode("base", 1, "openai");
  for (const ModePtr& mode : {cloudMode, localMode}) {
    int cancelled = 0;
    bool isThrough = false;
    for (int steps = 0; !isThrough; ++steps) {
      ASSERT_LT(steps, 200);
      PipelineFixture f;
      f.cloud.answer.delay = 2ms;
      f.rewriter.delay = 2ms;
      auto handle = f.start(mode);
      auto beside = f.start(mode);
      for (int i = 0; i < steps && f.step(); ++i) continue;
      isThrough = handle.isDone();
      handle.cancel();
      const QString ended = f.end(handle);
      cancelled += ended == "cancelled";
      EXPECT_TRUE(isThrough ? ended.startsWith("Rewritten") : ended == "cancelled") << qPrintable(ended);
      EXPECT_TRUE(f.end(beside).startsWith("Rewritten"));
      f.executor.runUntilIdle();
      EXPECT_TRUE(f.pipeline->state().get().is<TranscriptionState::Idle>()) << steps;
      EXPECT_TRUE(f.reporting.reports.empty()) << steps;
      EXPECT_TRUE(f.scope.isIdle());
    }
    EXPECT_GT(cancelled, 5);
  }
}

TEST(TranscriptionPipeline, AModelLoadHidesNoTranscription) {
  PipelineFixture f;
  f.cloud.answer.delay = 10s;
  auto handle = f.start(PipelineFixture::mode(cloudText));
  f.executor.runReady();
  f.engine.brokenFiles = {"ggml-base.bin"};
  runTask(f.executor, f.models->prepareModel(PipelineFixture::mode("base")));
  EXPECT_TRUE(f.pipeline->state().get().is<TranscriptionState::Transcribing>());
  EXPECT_EQ(f.end(handle), "spoken words");
  runTask(f.executor, f.models->prepareModel(PipelineFixture::mode("base")));
  EXPECT_TRUE(f.pipeline->state().get().is<TranscriptionState::Error>());
}

}  // namespace
}  // namespace quillmere
