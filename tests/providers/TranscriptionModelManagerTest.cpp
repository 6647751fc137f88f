#include "providers/TranscriptionModelManager.h"

#include <gtest/gtest.h>

#include "storage/PersistenceController.h"
#include "support/FakeErrorReporting.h"
#include "support/FakeProviders.h"
#include "support/FakeUserNotices.h"
#include "support/LocalEngineFixture.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

struct ManagerFixture : LocalEngineFixture {
  explicit ManagerFixture(const QStringList& modelFiles = {"ggml-base.bin", "ggml-base.en.bin", "ggml-small.bin",
                                                           "custom/own.bin"})
      : LocalEngineFixture(modelFiles) {
    persistence = std::move(*PersistenceController::open(PersistenceController::inMemory(), clock, logging));
    services.localProvider = provider.get();
    services.parakeet = &parakeet;
    services.gemmaRuntime = &gemma;
    services.notices = &notices;
    services.errorReporting = &reporting;
    models = std::make_unique<TranscriptionModelManager>(services, *persistence, 4, logging);
    models->setOnStateChange([this](const TranscriptionState& state) { states.append(state.text()); });
  }
  static ModePtr mode(const QString& model, const QString& language = "auto") {
    auto result = std::make_shared<Mode>();
    result->model = model;
    result->language = language;
    return result;
  }
  void prepare(const ModePtr& mode) { runTask(executor, models->prepareModel(mode)); }
  QStringList loads() const { return engine.loads(); }

  TestTexts texts;
  FixedClock clock{QDateTime::fromSecsSinceEpoch(1'700'000'000)};
  std::unique_ptr<PersistenceController> persistence;
  TranscriptionModelServices services;
  FakeParakeetEngine parakeet;
  FakeGemmaRuntime gemma;
  FakeUserNotices notices;
  FakeErrorReporting reporting;
  QStringList states;
  std::unique_ptr<TranscriptionModelManager> models;
};

TEST(TranscriptionModelManager, LoadsTheModelOfTheMode) {
  struct Case {
    const char* model;
    const char* language;
    QStringList loads;
  };
  const QString base = "ggml-base.bin";
  const std::vector<Case> table{{"", "auto", {base}},      {"Cloud", "en", {base}},
                                {"base", "EN-us", {base}}, {"own", "en", {"own.bin"}},
                                {"zzz", "en", {}},         {"parakeet-tdt-0.6b-v3", "en", {}}};
  for (const Case& c : table) {
    ManagerFixture f;
    f.prepare(ManagerFixture::mode(QString::fromLatin1(c.model), QString::fromLatin1(c.language)));
    EXPECT_EQ(f.loads(), c.loads) << c.model;
    EXPECT_EQ(f.parakeet.prepared.size(), QByteArray(c.model).startsWith("parakeet") ? 1 : 0);
  }
}

TEST(TranscriptionModelManager, FallsBackToBaseAndReports) {
  ManagerFixture f;
  f.engine.brokenFiles = {"ggml-small.bin"};
  f.prepare(ManagerFixture::mode("small"));
  EXPECT_EQ(f.loads(), (QStringList{"ggml-small.bin", "ggml-base.bin"}));
  EXPECT_TRUE(f.states.contains("error: Failed to load small. Using base model."));
  EXPECT_EQ(f.states.last(), "idle");
  EXPECT_EQ(f.reporting.reports.size(), 1U);
}

TEST(TranscriptionModelManager, TriesBaseTwice) {
  ManagerFixture f;
  f.engine.brokenFiles = {"ggml-base.bin"};
  const TimePoint start = f.executor.now();
  runTask(f.executor, f.models->preloadBase(std::nullopt));
  EXPECT_EQ(f.executor.now() - start, std::chrono::milliseconds(500));
  EXPECT_EQ(f.loads().size(), 2);
  EXPECT_TRUE(f.states.last().startsWith("error: Failed to load base model: ")) << qPrintable(f.states.last());
}

TEST(TranscriptionModelManager, ACancelledPreparationEndsAtRest) {
  for (const char* model : {"small", "cloud"}) {
    ManagerFixture f;
    f.engine.holdLoads(true);
    TaskScope scope(f.executor);
    auto handle = scope.spawn(f.models->prepareModel(ManagerFixture::mode(QString::fromLatin1(model))));
    f.executor.runReady();
    f.engine.waitForLoads(1);
    handle.cancel();
    f.engine.holdLoads(false);
    f.executor.runUntilIdle();
    EXPECT_TRUE(handle.isDone());
    EXPECT_EQ(f.states.last(), "idle");
    EXPECT_EQ(f.loads().size(), 1);
    EXPECT_TRUE(f.reporting.reports.empty());
  }
}

TEST(TranscriptionModelManager, StartsAndStopsTheLocalLanguageModel) {
  using Reason = GemmaStopReason;
  using Kind = GemmaError::Kind;
  struct Case {
    std::optional<qint16> value;
    std::optional<QString> provider;
    std::optional<GemmaError> error;
    std::vector<Reason> stops;
    size_t requests;
    size_t toasts;
  };
  const QString openai = "openai";
  const std::vector<Case> table{{2, std::nullopt, {}, {}, 1, 0},
                                {2, openai, {}, {Reason::providerDisabled}, 0, 0},
                                {1, "local_gemma", {}, {Reason::providerDisabled}, 0, 0},
                                {2, std::nullopt, GemmaError{Kind::modelNotFound, {}}, {Reason::modelMissing}, 1, 0},
                                {2, std::nullopt, GemmaError{Kind::executableNotFound, {}}, {}, 1, 1},
                                {2, std::nullopt, GemmaError{Kind::other, "odd"}, {}, 1, 1}};
  for (const Case& c : table) {
    ManagerFixture f;
    auto mode = std::make_shared<Mode>();
    mode->postProcessingMode = c.value;
    mode->postProcessingProvider = c.provider;
    mode->languageModel = "some.gguf";
    f.gemma.error = c.error;
    runTask(f.executor, f.models->ensureGemmaRuntime(ModePtr(mode)));
    EXPECT_EQ(f.gemma.stops, c.stops);
    EXPECT_EQ(f.notices.toasts.size(), c.toasts);
    ASSERT_EQ(f.gemma.requests.size(), c.requests);
  }
}

}  // namespace
}  // namespace quillmere
