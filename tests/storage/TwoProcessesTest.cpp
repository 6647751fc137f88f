#include "storage/StoreFixture.h"
#include "support/SecondProcess.h"

namespace quillmere {
namespace {

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

}  // namespace
}  // namespace quillmere
