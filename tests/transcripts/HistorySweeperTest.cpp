#include "transcripts/HistorySweeper.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include "base/text/LocalizedText.h"
#include "support/ManualExecutor.h"
#include "support/RunTask.h"
#include "support/WithoutPrivileges.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

// The clock that rows are dated by goes with the executor's.
class ExecutorClock final : public Clock {
 public:
  explicit ExecutorClock(const ManualExecutor& executor) : executor_(executor) {}
  QDateTime now() const override {
    const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(executor_.now().time_since_epoch());
    return QDateTime(QDate(2026, 3, 10), QTime(12, 0), Qt::UTC).addMSecs(passed.count());
  }

 private:
  const ManualExecutor& executor_;
};

class HistorySweeperTest : public testing::Test {
 public:
  QTemporaryDir folder;
  const QString path = folder.filePath("Quillmere.sqlite");
  ManualExecutor executor;
  ExecutorClock clock{executor};
  WorkerPool workers{1};
  std::unique_ptr<PersistenceController> store = openAs("me");
  HistorySweeper sweeper{{*store, executor, workers, clock,
                          [](const QString& owner) -> std::optional<bool> {
                            if (owner == "sandboxed") return std::nullopt;
                            return owner != "dead";
                          }},
                         Logging()};

  std::unique_ptr<PersistenceController> openAs(const QString& owner) {
    auto opened = PersistenceController::open(path, clock, Logging(), nullptr, QTimeZone::utc(), {&executor, owner});
    return opened ? std::move(opened).value() : nullptr;
  }
  // A row that the named process works on.
  QString processingIn(const QString& owner) {
    return openAs(owner)->transcripts().createTranscript(1, {}, {})->id->toString();
  }
  QString audioFile(const QString& name) const {
    QFile file(folder.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    return file.fileName();
  }
  TranscriptPtr discarded(const QString& audio, const QString& trimmed = {}) {
    const TranscriptPtr row = store->transcripts().createTranscript(1, {}, audio, TranscriptStatus::discarded);
    if (!trimmed.isEmpty()) row->trimmedAudioFilePath = trimmed;
    store->save();
    return row;
  }
  qint64 discardedCount() { return store->transcripts().countTranscripts({}, HistoryFilter::discarded); }
  void sweep() { runTask(executor, sweeper.sweep()); }
};

TEST_F(HistorySweeperTest, OnlyRowsOfDeadProcessesAreEnded) {
  const struct {
    const char* owner;
    const char* status;
  } cases[] = {{"dead", "failed"}, {"", "failed"}, {"alive", "processing"}, {"me", "processing"}};
  std::vector<TranscriptPtr> rows;
  for (const auto& [owner, status] : cases) rows.push_back(store->transcripts().fetchTranscript(processingIn(owner)));
  const TranscriptPtr own = store->transcripts().createTranscript(1, {}, {});
  const TranscriptPtr fresh = store->transcripts().insertTranscript();  // nobody has saved it yet
  fresh->status = TranscriptStatus::processing;
  sweep();
  for (size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(rows[i]->status, cases[i].status) << cases[i].owner;
    const bool isEnded = rows[i]->status == TranscriptStatus::failed;
    EXPECT_EQ(rows[i]->failedReason.has_value(), isEnded) << cases[i].owner;
    EXPECT_EQ(rows[i]->text != processingPlaceholder, isEnded) << cases[i].owner;
  }
  EXPECT_EQ(own->status, TranscriptStatus::processing);
  EXPECT_EQ(fresh->status, TranscriptStatus::processing);
  EXPECT_EQ(fresh->processingOwner, "me");
}

TEST_F(HistorySweeperTest, ARetryTakesTheRowOverAndItsEndGivesItBack) {
  const TranscriptPtr row = store->transcripts().fetchTranscript(processingIn("dead"));
  row->text = "an earlier text";
  store->save();
  sweep();
  EXPECT_EQ(row->status, TranscriptStatus::failed);
  EXPECT_EQ(row->text, "an earlier text");
  row->status = TranscriptStatus::processing;
  store->save();
  EXPECT_EQ(row->processingOwner, "me");
  row->status = TranscriptStatus::completed;
  store->save();
  EXPECT_EQ(row->processingOwner, std::nullopt);
  EXPECT_EQ(openAs("other")->transcripts().fetchTranscript(row->id->toString())->processingOwner, std::nullopt);
}

TEST_F(HistorySweeperTest, AnOwnerThatCannotBeSeenIsBelievedForADay) {
  const TranscriptPtr row = store->transcripts().fetchTranscript(processingIn("sandboxed"));
  executor.advance(23h);
  sweep();
  EXPECT_EQ(row->status, TranscriptStatus::processing);
  executor.advance(2h);
  sweep();
  EXPECT_EQ(row->status, TranscriptStatus::failed);
}

TEST_F(HistorySweeperTest, DiscardedRecordingsGoWithTheirFilesAfterADay) {
  const QString audio = audioFile("a.wav"), trimmed = audioFile("b.wav"), shared = audioFile("c.wav");
  discarded(audio, trimmed);
  discarded(shared);
  const TranscriptPtr kept = store->transcripts().createTranscript(1, {}, shared, TranscriptStatus::completed);
  sweeper.start();
  executor.runUntilIdle();
  executor.advance(12h);
  discarded(folder.filePath("gone.wav"));
  const TranscriptPtr wanted = discarded(audioFile("d.wav"));
  executor.advance(11h + 59min);
  executor.runUntilIdle();
  EXPECT_EQ(discardedCount(), 4);
  wanted->status = TranscriptStatus::processing;  // the user has it transcribed
  store->save();
  executor.advance(61min);
  executor.runUntilIdle();
  EXPECT_EQ(discardedCount(), 1);
  EXPECT_FALSE(QFileInfo::exists(audio) || QFileInfo::exists(trimmed));
  EXPECT_TRUE(QFileInfo::exists(shared)) << "another row needs it";
  executor.advance(12h);
  executor.runUntilIdle();
  EXPECT_EQ(discardedCount(), 0);
  EXPECT_EQ(store->transcripts().countTranscripts(), 2);
  EXPECT_TRUE(QFileInfo::exists(*wanted->audioFilePath));
}

TEST_F(HistorySweeperTest, ARowWhoseFileCannotBeRemovedStaysForTheNextTime) {
  ASSERT_TRUE(QFile::setPermissions(folder.path(), QFile::Permissions(0x7755)));
  ASSERT_TRUE(QDir(folder.path()).mkdir("locked"));
  const QString audio = audioFile("locked/a.wav");
  discarded(audio);
  executor.advance(25h);
  ASSERT_TRUE(QFile::setPermissions(folder.filePath("locked"), QFile::Permissions(0x5555)));
  {
    WorkerPool unprivileged(1);
    const WithoutPrivileges scope;
    HistorySweeper powerless({*store, executor, unprivileged, clock, [](const QString&) { return true; }}, Logging());
    runTask(executor, powerless.sweep());
  }
  ASSERT_TRUE(QFile::setPermissions(folder.filePath("locked"), QFile::Permissions(0x7777)));
  EXPECT_EQ(discardedCount(), 1);
  sweep();
  EXPECT_EQ(discardedCount(), 0);
  EXPECT_FALSE(QFileInfo::exists(audio));
}

}  // namespace
}  // namespace quillmere
