#include <gtest/gtest.h>

#include "interface/HistoryModel.h"
#include "interface/InterfaceFixture.h"
#include "storage/StoreFile.h"
#include "transcripts/TranscriptRoad.h"
#include "transcripts/TranscriptionRetryController.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

// Another program holds the store while a recording is tried again in the history.
struct LockedHistory : InterfaceFixture {
  struct Road final : TranscriptRoad {
    Task<TranscriptOutcome> run(TranscriptJob job) override {
      job.row->status = TranscriptStatus::completed;
      job.row->text = QStringLiteral("at last");
      TranscriptOutcome outcome;
      outcome.result.emplace();
      co_return outcome;
    }
  } road;
  QString path = folder.filePath(QStringLiteral("Quillmere.sqlite"));
  std::unique_ptr<PersistenceController> file =
      PersistenceController::open(path, clock, Logging(log), nullptr, QTimeZone::utc(), {&executor, {}}).value();
  std::unique_ptr<SQLite::Database> other = openStore(path, Logger()).value();
  TranscriptionRetryController controller{*file, road, Logging(log)};
  TranscriptPtr row = file->createTranscript(5, {}, addFile(), TranscriptStatus::failed);
  HistoryModel model{HistoryModel::Services{*file, state, executor, clock, &controller, &notices},
                     {},
                     QLocale(QLocale::English),
                     QTimeZone::utc(),
                     Logging(log)};

  QString addFile() const {
    QFile audio(folder.filePath(QStringLiteral("kept.wav")));
    return audio.open(QIODevice::WriteOnly) ? audio.fileName() : QString();
  }
  bool isBusy() const { return model.data(model.index(0), HistoryModel::busyRole).toBool(); }
  void retryWhileLocked() {
    other->exec("BEGIN IMMEDIATE");
    model.retry(model.data(model.index(0), HistoryModel::idRole).toString());
    executor.advance(2s);
    EXPECT_EQ(row->text, QStringLiteral("at last"));
    EXPECT_TRUE(isBusy()) << "not done before it is stored";
  }
};

TEST(RetrySaved, IsDoneOnceItIsStoredOrSaysWhyNot) {
  for (const bool comesFree : {true, false}) {
    LockedHistory f;
    f.retryWhileLocked();
    if (comesFree) f.other->exec("COMMIT");
    f.executor.advance(10s);
    EXPECT_FALSE(f.isBusy());
    EXPECT_EQ(f.file->hasChanges(), !comesFree);
    EXPECT_EQ(f.notices.toasts.size(), comesFree ? 0U : 1U);
    if (!comesFree) f.other->exec("COMMIT");
  }
}

}  // namespace
}  // namespace quillmere
