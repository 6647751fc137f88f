#include <thread>

#include "base/async/TaskScope.h"
#include "storage/StoreFile.h"
#include "storage/StoreFixture.h"
#include "support/ManualExecutor.h"
#include "support/RunTask.h"
#include "support/SecondProcess.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr int rowsEach = 60;

TEST(StoreHelper, DISABLED_Writer) {
  const FixedClock clock(utc("2026-03-10T12:00:00.000"));
  FakeErrorReporting reporting;
  const auto opened = PersistenceController::open(SecondProcess::path(), clock, Logging(), &reporting);
  ASSERT_TRUE(opened);
  PersistenceController& store = **opened;
  const QString name = SecondProcess::name();
  for (int i = 0; i < rowsEach; ++i) {
    const TranscriptPtr transcript = store.createTranscript(i, name, {});
    transcript->text = name + QString::number(i);
    transcript->status = "completed";
    store.save();  // or it waits: what is held up must be as safe
    store.addTranscriptionUsage(1);
    store.addVocabularyItem("shared" + QString::number(i));
  }
  EXPECT_TRUE(reporting.reports.empty());
}

class TwoProcessesTest : public StoreFixture {};

TEST_F(TwoProcessesTest, NothingIsLostWhenSeveralStartAndWriteAtOnce) {
  // No store yet: creating, seeding and switching the journal race too.
  SecondProcess a("StoreHelper.DISABLED_Writer", path, "a"), b("StoreHelper.DISABLED_Writer", path, "b"),
      c("StoreHelper.DISABLED_Writer", path, "c");
  for (SecondProcess* process : {&a, &b, &c}) process->expectSuccess();
  auto store = openStoreHere();
  EXPECT_EQ(store->fetchAllModes().size(), 1u);
  EXPECT_EQ(store->countTranscripts(), 3 * rowsEach);
  EXPECT_EQ(store->fetchTranscriptsWithStatus("completed").size(), 3u * rowsEach);
  EXPECT_EQ(store->countTranscripts("b7"), 1);
  EXPECT_EQ(store->todaysTranscriptionSeconds(), 3 * rowsEach);
  const auto words = store->fetchAllVocabularyItems();
  EXPECT_EQ(words.size(), static_cast<size_t>(rowsEach));  // each word once, whoever was first
  std::set<qint16> orders;
  for (const VocabularyPtr& word : words) orders.insert(*word->sortOrder);
  EXPECT_EQ(orders.size(), words.size());
}

// Another process that writes for seconds. What this one changes meanwhile is neither waited for nor lost.
class LockedStoreTest : public StoreFixture {
 public:
  ManualExecutor executor;
  std::unique_ptr<PersistenceController> store = openStoreHere(&executor);
  std::unique_ptr<PersistenceController> other = openStoreHere();
  std::unique_ptr<SQLite::Database> blocker = openStore(path, Logger()).value();

  void lock() { blocker->exec("BEGIN IMMEDIATE"); }
  void unlock() { blocker->exec("COMMIT"); }
};

TEST_F(LockedStoreTest, ChangesWaitForTheLockAndAreMadeUpFor) {
  const TranscriptPtr old = store->createTranscript(1, {}, {});
  lock();
  old->text = "changed";
  EXPECT_FALSE(store->save());
  const TranscriptPtr fresh = store->createTranscript(2, {}, {});
  const ModePtr mode = store->createMode(modeData("Here"));
  EXPECT_TRUE(store->addVocabularyItem("shared"));
  EXPECT_TRUE(store->addVocabularyItem("mine"));
  store->addTranscriptionUsage(5);
  EXPECT_FALSE(store->isSaveRefused());
  EXPECT_TRUE(reporting.reports.empty());
  EXPECT_EQ(store->countTranscripts(), 2);
  executor.advance(10s);
  EXPECT_TRUE(store->hasChanges());
  unlock();
  // What is taken for granted here while it waits may be another by then.
  other->createMode(modeData("There"));
  other->addVocabularyItem("SHARED", "theirs");
  other->addTranscriptionUsage(7);
  executor.advance(50ms);
  EXPECT_FALSE(store->hasChanges());
  EXPECT_EQ(executor.timerCount(), 0u);
  EXPECT_EQ(other->fetchTranscript(old->id->toString())->text, "changed");
  EXPECT_EQ(other->countTranscripts(), 2);
  EXPECT_EQ(names(other->fetchAllModes()), QStringList({"Default", "There", "Here"}));
  EXPECT_EQ(other->fetchVocabularyItem("shared")->replacement, "theirs");
  EXPECT_EQ(other->fetchAllVocabularyItems().size(), 2u);
  EXPECT_NE(other->fetchAllVocabularyItems()[0]->sortOrder, other->fetchAllVocabularyItems()[1]->sortOrder);
  EXPECT_EQ(store->todaysTranscriptionSeconds(), 12);
}

TEST_F(LockedStoreTest, WhoNeedsTheStoredRowWaitsForIt) {
  lock();
  store->createTranscript(1, {}, {});
  EXPECT_FALSE(runTask(executor, store->waitUntilSaved(3s)));
  TaskScope scope(executor);
  auto waiting = scope.spawn(store->waitUntilSaved());
  executor.advance(3s);
  EXPECT_FALSE(waiting.isDone());
  unlock();
  EXPECT_TRUE(runTask(executor, waiting.join()));
  EXPECT_EQ(other->countTranscripts(), 1);
}

TEST_F(LockedStoreTest, ALongLockIsReportedOnceAndTheEndOfTheProgramWaitsForIt) {
  lock();
  store->createTranscript(1, {}, {});
  executor.advance(120s);
  EXPECT_EQ(reportTexts(), QStringList{"Core Data save failed"});
  std::thread otherSide([this] {
    std::this_thread::sleep_for(100ms);  // lint-allow(clock): it lives in its own time
    unlock();
  });
  store.reset();
  otherSide.join();
  EXPECT_EQ(other->countTranscripts(), 1);
}

}  // namespace
}  // namespace quillmere
