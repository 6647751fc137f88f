#include <QCoreApplication>
#include <QProcess>
#include <csignal>

#include "storage/StoreFixture.h"

namespace quillmere {
namespace {

// The tests of this group start this executable again for one of the DISABLED_ tests below, which do the work of a
// second process on the store that the environment names.
class TwoProcessesTest : public StoreFixture {
 public:
  static constexpr int rowsEach = 60;

  std::unique_ptr<QProcess> start(const QString& helper, const QString& name) {
    auto process = std::make_unique<QProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("STORE_PATH", path);
    environment.insert("WRITER_NAME", name);
    process->setProcessEnvironment(environment);
    process->setProcessChannelMode(QProcess::MergedChannels);
    process->start(QCoreApplication::applicationFilePath(),
                   {"--gtest_also_run_disabled_tests", "--gtest_filter=StoreHelper.DISABLED_" + helper});
    EXPECT_TRUE(process->waitForStarted());
    return process;
  }
  static void expectSuccess(QProcess& process) {
    EXPECT_TRUE(process.waitForFinished(120'000));
    EXPECT_EQ(process.exitCode(), 0) << process.readAll().toStdString();
  }
};

std::unique_ptr<PersistenceController> openForHelper(const Clock& clock, FakeErrorReporting& reporting) {
  auto opened = PersistenceController::open(qEnvironmentVariable("STORE_PATH"), clock, Logging(), &reporting);
  EXPECT_TRUE(opened);
  return opened ? std::move(opened).value() : nullptr;
}

TEST(StoreHelper, DISABLED_Writer) {
  const FixedClock clock(utc("2026-03-10T12:00:00.000"));
  FakeErrorReporting reporting;
  const auto store = openForHelper(clock, reporting);
  ASSERT_NE(store, nullptr);
  const QString name = qEnvironmentVariable("WRITER_NAME");
  for (int i = 0; i < TwoProcessesTest::rowsEach; ++i) {
    const TranscriptPtr transcript = store->createTranscript(i, name, {});
    transcript->text = name + QString::number(i);
    transcript->status = "completed";
    EXPECT_TRUE(store->save());
    store->addTranscriptionUsage(1);
    store->addVocabularyItem("shared" + QString::number(i));
  }
  EXPECT_TRUE(reporting.reports.empty());
}

TEST(StoreHelper, DISABLED_Transcriber) {
  const FixedClock clock(utc("2026-03-10T12:00:00.000"));
  FakeErrorReporting reporting;
  const auto store = openForHelper(clock, reporting);
  ASSERT_NE(store, nullptr);
  const TranscriptPtr transcript = store->createTranscript(1, {}, {});
  transcript->text = "never saved";
  ::raise(SIGKILL);
}

TEST_F(TwoProcessesTest, NothingIsLostWhenSeveralStartAndWriteAtOnce) {
  // No store yet: creating, seeding and switching the journal race too.
  auto a = start("Writer", "a"), b = start("Writer", "b"), c = start("Writer", "c");
  expectSuccess(*a);
  expectSuccess(*b);
  expectSuccess(*c);
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

TEST_F(TwoProcessesTest, AKilledProcessLeavesAReadableStore) {
  const auto process = start("Transcriber", "");
  EXPECT_TRUE(process->waitForFinished(60'000));
  EXPECT_EQ(process->exitStatus(), QProcess::CrashExit);
  auto store = openStoreHere();
  ASSERT_EQ(store->countTranscripts(), 1);
  EXPECT_EQ(store->fetchTranscripts(1).front()->status, "processing");
  EXPECT_EQ(store->fetchTranscripts(1).front()->text, processingPlaceholder);
}

}  // namespace
}  // namespace quillmere
