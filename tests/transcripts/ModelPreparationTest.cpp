#include "transcripts/ModelPreparation.h"

#include <gtest/gtest.h>

#include "providers/TranscriptionModelManager.h"
#include "storage/PersistenceController.h"
#include "support/LocalEngineFixture.h"

namespace quillmere {
namespace {

struct PreparationFixture : LocalEngineFixture {
  PreparationFixture() : LocalEngineFixture({"ggml-base.bin", "ggml-tiny.bin", "ggml-small.bin"}) {
    persistence = std::move(*PersistenceController::open(PersistenceController::inMemory(), clock, logging));
    TranscriptionModelServices services;
    services.localProvider = provider.get();
    models = std::make_unique<TranscriptionModelManager>(services, *persistence, 4, logging);
    preparation = std::make_unique<ModelPreparation>(executor, *persistence, *models, logging);
  }
  QString modeWith(const QString& model) {
    ModeData data;
    data.name = data.model = model;
    return persistence->createMode(data)->id->toString(QUuid::WithoutBraces);
  }
  void select(const QString& modeId) {
    preparation->modeSelected(modeId);
    executor.runUntilIdle();
  }

  FixedClock clock{QDateTime::fromSecsSinceEpoch(1'700'000'000)};
  std::unique_ptr<PersistenceController> persistence;
  std::unique_ptr<TranscriptionModelManager> models;
  std::unique_ptr<ModelPreparation> preparation;
};

TEST(ModelPreparation, PreparesEachSelectionOnce) {
  PreparationFixture f;
  const QString base = f.modeWith("base");
  const QString tiny = f.modeWith("tiny");
  for (const QString& id : {base, base, QString(), QUuid::createUuid().toString(), tiny, base}) f.select(id);
  EXPECT_EQ(f.engine.loads().size(), 3);
  const ModePtr edited = f.persistence->fetchMode(base);
  edited->model = "small";
  f.preparation->prepare(edited);
  f.executor.runUntilIdle();
  EXPECT_EQ(f.engine.loads().back(), "ggml-small.bin");
}

TEST(ModelPreparation, TheNewestWinsAndNoTranscriptionEnds) {
  PreparationFixture f;
  const QStringList ids{f.modeWith("tiny"), f.modeWith("small")};
  f.engine.holdRuns(true);
  TaskScope scope(f.executor);
  auto running = scope.spawn(f.provider->transcribe(f.request("base", "de")));
  f.runUntilRuns(1);
  for (const QString& id : ids) {
    f.preparation->modeSelected(id);
    f.executor.runReady();
  }
  EXPECT_EQ(f.engine.loads().size(), 1) << "they wait for their turn";
  f.engine.holdRuns(false);
  EXPECT_EQ(runTask(f.executor, running.join())->text, "Hello there.");
  f.executor.runUntilIdle();
  EXPECT_EQ(f.engine.loads(), (QStringList{"ggml-base.bin", "ggml-small.bin"}));
}

}  // namespace
}  // namespace quillmere
