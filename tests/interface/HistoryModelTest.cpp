#include "interface/HistoryModel.h"

#include <gtest/gtest.h>

#include "interface/InterfaceFixture.h"
#include "transcripts/TranscriptRoad.h"
#include "transcripts/TranscriptionRetryController.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

class ScriptedRoad final : public TranscriptRoad {
 public:
  explicit ScriptedRoad(PersistenceController& persistence) : store(persistence) {}
  PersistenceController& store;
  std::optional<AnyError> error;
  int calls = 0;
  bool isCancelled = false;
  Task<TranscriptOutcome> run(TranscriptJob job) override {
    ++calls;
    TranscriptOutcome outcome;
    outcome.row = job.row;
    outcome.error = error;
    job.row->status = QStringLiteral("processing");
    store.save();
    co_await sleepFor(1s);
    if (isCancelled) {
      job.row->status = QStringLiteral("failed");
      store.save();
      throw Cancelled{};
    }
    job.row->status = error ? QStringLiteral("failed") : QStringLiteral("completed");
    job.row->text = error ? QStringLiteral("no") : QStringLiteral("at last");
    store.save();
    if (!error) outcome.result.emplace();
    co_return outcome;
  }
};

struct Fixture : InterfaceFixture {
  ScriptedRoad road{*store};
  TranscriptionRetryController retry{*store, road, Logging(log)};
  QStringList copied, played;
  bool hasFiles = true;
  std::unique_ptr<HistoryModel> model;

  explicit Fixture(int count = 0) {
    for (int i = 0; i < count; ++i) add(QStringLiteral("number %1").arg(i), -i * 60);
    store->save();
    make();
  }
  void make() {
    HistoryIntents intents;
    intents.copyText = [this](const QString& text) { copied << text; };
    intents.playAudio = [this](const QString& path) { played << path; };
    intents.fileExists = [this](const QString&) { return hasFiles; };
    model = std::make_unique<HistoryModel>(HistoryModel::Services{*store, state, executor, clock, &retry, &notices},
                                           intents, QLocale(QLocale::English, QLocale::UnitedKingdom), QTimeZone::utc(),
                                           Logging(log));
  }
  TranscriptPtr add(const QString& text, int seconds) {
    const TranscriptPtr transcript = store->insertTranscript();
    transcript->text = text;
    transcript->date = clock.now().addSecs(seconds);
    transcript->status = QStringLiteral("completed");
    transcript->duration = 5;
    return transcript;
  }
  TranscriptPtr addFailed() {
    const TranscriptPtr transcript = add(QStringLiteral("Transcription failed: no luck."), 1);
    transcript->status = QStringLiteral("failed");
    transcript->audioFilePath = writeFile(folder.filePath(QStringLiteral("kept.wav")));
    save();
    return transcript;
  }
  void save() {
    store->save();
    executor.runReady();
  }
  QVariant at(int row, int role) const { return model->data(model->index(row), role); }
  QString text(int row) const { return at(row, HistoryModel::excerptRole).toString(); }
  QString id(int row) const { return at(row, HistoryModel::idRole).toString(); }
};

TEST(HistoryModel, ComesInPagesWithHeadings) {
  Fixture f(120);
  f.add(QStringLiteral("old"), -40 * 3600);
  f.store->save();
  f.make();
  EXPECT_EQ(f.model->rowCount(), 50);
  EXPECT_EQ(f.model->totalCount(), 121);
  // A new one pushes the others down: none comes twice.
  f.add(QStringLiteral("newest"), 5);
  f.store->save();
  f.model->fetchMore({});
  f.executor.runReady();
  while (f.model->canFetchMore({})) f.model->fetchMore({});
  EXPECT_EQ(f.model->rowCount(), 122);
  QSet<QString> ids;
  for (int i = 0; i < 122; ++i) ids.insert(f.id(i));
  EXPECT_EQ(ids.size(), 122);
  EXPECT_EQ(f.text(0), QStringLiteral("newest"));
  EXPECT_EQ(f.at(0, HistoryModel::dayRole), QStringLiteral("Today"));
  EXPECT_EQ(f.at(121, HistoryModel::dayRole), QStringLiteral("Tuesday"));
  EXPECT_EQ(f.at(121, HistoryModel::detailsRole).toString(), QStringLiteral("20:00 · 5\u00A0s"));
  // The next day the headings are others.
  f.clock.set(f.clock.now().addDays(1));
  f.model->refresh();
  EXPECT_EQ(f.at(0, HistoryModel::dayRole), QStringLiteral("Yesterday"));
}

TEST(HistoryModel, SearchesBehindTheTyping) {
  Fixture f(60);
  int resets = 0;
  QObject::connect(f.model.get(), &QAbstractItemModel::modelReset, f.model.get(), [&] { ++resets; });
  f.model->setSearchText(QStringLiteral("numb"));
  f.executor.advance(200ms);
  f.model->setSearchText(QStringLiteral("number 4"));
  EXPECT_EQ(f.state.data().historySearchQuery, QStringLiteral("number 4"));
  f.executor.advance(299ms);
  EXPECT_EQ(resets, 0);
  f.executor.advance(1ms);
  EXPECT_EQ(resets, 1);
  EXPECT_EQ(f.model->totalCount(), 11) << "4 and 40 to 49";
  EXPECT_EQ(f.at(0, HistoryModel::htmlRole).toString(),
            QStringLiteral("<span class=\"hit\">number</span> <span class=\"hit\">4</span>"));
  // What comes in meanwhile shows only if it is meant.
  f.add(QStringLiteral("other"), 10);
  f.add(QStringLiteral("number 4 again"), 11);
  f.save();
  EXPECT_EQ(f.model->totalCount(), 12);
  EXPECT_EQ(f.text(0), QStringLiteral("number 4 again"));
  f.model->setSearchText(QString());
  f.executor.advance(300ms);
  EXPECT_EQ(f.model->totalCount(), 62);
  EXPECT_EQ(f.at(0, HistoryModel::htmlRole).toString(), QString());
}

TEST(HistoryModel, FollowsTheStoreWithoutLosingItsPlace) {
  Fixture f(10);
  int resets = 0;
  QObject::connect(f.model.get(), &QAbstractItemModel::modelReset, f.model.get(), [&] { ++resets; });
  QList<int> changed;
  QObject::connect(f.model.get(), &QAbstractItemModel::dataChanged, f.model.get(),
                   [&](const QModelIndex& from) { changed << from.row(); });
  const QPersistentModelIndex last = f.model->index(9);
  const TranscriptPtr third = f.store->fetchTranscript(f.id(2));
  f.store->deleteTranscript(f.store->fetchTranscript(f.id(5)));
  third->text = QStringLiteral("corrected");
  f.add(QStringLiteral("newest"), 5);
  f.save();
  EXPECT_EQ(f.model->rowCount(), 10);
  EXPECT_EQ(f.text(0), QStringLiteral("newest"));
  EXPECT_EQ(f.text(3), QStringLiteral("corrected"));
  EXPECT_EQ(resets, 0);
  EXPECT_EQ(changed, QList<int>{3});
  EXPECT_EQ(last.data(HistoryModel::excerptRole), QStringLiteral("number 9"));
  // Another order is shown anew.
  third->date = f.clock.now().addSecs(100);
  f.save();
  EXPECT_EQ(f.text(0), QStringLiteral("corrected"));
}

TEST(HistoryModel, SaysWhyARecordingFailedAndThatItIsKept) {
  Fixture f;
  f.addFailed();
  EXPECT_TRUE(f.at(0, HistoryModel::failedRole).toBool());
  EXPECT_TRUE(f.at(0, HistoryModel::retryRole).toBool());
  EXPECT_EQ(f.at(0, HistoryModel::reasonRole).toString(), QStringLiteral("no luck. The recording is safe."));
  EXPECT_TRUE(f.model->audioFile(f.id(0)).endsWith(QStringLiteral("kept.wav")));
  f.hasFiles = false;
  EXPECT_FALSE(f.at(0, HistoryModel::retryRole).toBool());
  EXPECT_EQ(f.at(0, HistoryModel::reasonRole).toString(), QStringLiteral("no luck."));
  EXPECT_EQ(f.model->audioFile(f.id(0)), QString());
  f.model->retry(f.id(0));
  f.model->play(f.id(0));
  EXPECT_EQ(f.notices.toasts.size(), 2U);
  EXPECT_EQ(f.played, QStringList());
}

TEST(HistoryModel, RetriesInPlaceOnce) {
  Fixture f;
  f.addFailed();
  f.model->retry(f.id(0));
  f.model->retry(f.id(0));
  f.executor.runReady();
  EXPECT_TRUE(f.at(0, HistoryModel::busyRole).toBool());
  f.model->remove(f.id(0));
  f.executor.runUntilIdle();
  EXPECT_EQ(f.model->rowCount(), 1) << "not while it is being transcribed";
  f.executor.advance(2s);
  EXPECT_EQ(f.road.calls, 1);
  EXPECT_FALSE(f.at(0, HistoryModel::busyRole).toBool());
  EXPECT_EQ(f.text(0), QStringLiteral("at last"));
  f.model->copy(f.id(0));
  EXPECT_EQ(f.copied, QStringList{QStringLiteral("at last")});
}

TEST(HistoryModel, AFailedOrCancelledRetryFreesTheRow) {
  for (const bool isCancelled : {false, true}) {
    Fixture f;
    f.addFailed();
    f.road.isCancelled = isCancelled;
    f.road.error = AnyError{TranscriptionError{TranscriptionError::NoSpeechDetected{}}};
    f.model->retry(f.id(0));
    f.executor.advance(2s);
    EXPECT_FALSE(f.at(0, HistoryModel::busyRole).toBool()) << isCancelled;
    EXPECT_TRUE(f.at(0, HistoryModel::failedRole).toBool()) << isCancelled;
    EXPECT_EQ(f.notices.toasts.size(), isCancelled ? 0U : 1U);
  }
  // The window may close in the middle.
  Fixture f;
  f.addFailed();
  f.model->retry(f.id(0));
  f.executor.runReady();
  f.model.reset();
  f.executor.advance(2s);
}

TEST(HistoryModel, KeepsWhatWasThrownAwayApart) {
  Fixture f(2);
  EXPECT_FALSE(f.model->hasDiscarded());
  const TranscriptPtr thrownAway = f.addFailed();
  thrownAway->status = TranscriptStatus::discarded;
  thrownAway->text.reset();
  thrownAway->date = f.clock.now().addSecs(-90 * 60);
  f.save();
  EXPECT_EQ(f.model->rowCount(), 2);
  EXPECT_TRUE(f.model->hasDiscarded());
  f.model->setShowsDiscarded(true);
  ASSERT_EQ(f.model->rowCount(), 1);
  EXPECT_EQ(f.text(0), QStringLiteral("Recording of 5\u00A0s, thrown away"));
  EXPECT_EQ(f.at(0, HistoryModel::detailsRole).toString(), QStringLiteral("10:30 · goes for good in 23 h"));
  EXPECT_TRUE(f.at(0, HistoryModel::retryRole).toBool());
  // Taken back, it stands in the history, and the list shows where.
  f.model->retry(f.id(0));
  f.executor.runReady();
  EXPECT_FALSE(f.model->showsDiscarded());
  ASSERT_EQ(f.model->rowCount(), 3);
  EXPECT_TRUE(f.at(2, HistoryModel::busyRole).toBool());
  f.executor.advance(2s);
  EXPECT_EQ(f.text(2), QStringLiteral("at last"));
  EXPECT_FALSE(f.model->hasDiscarded());
}

TEST(HistoryModel, CopiesTheRewrittenTextAndDeletes) {
  Fixture f(2);
  f.store->fetchTranscript(f.id(0))->postProcessedText = QStringLiteral("better");
  f.save();
  f.model->copy(f.id(0));
  EXPECT_EQ(f.copied, QStringList{QStringLiteral("better")});
  EXPECT_TRUE(f.at(0, HistoryModel::detailsRole).toString().endsWith(QStringLiteral("rewritten")));
  f.model->remove(f.id(0));
  f.model->remove(QStringLiteral("no id"));
  f.executor.runReady();
  EXPECT_EQ(f.model->rowCount(), 1);
  EXPECT_EQ(f.store->countTranscripts(), 1);
}

}  // namespace
}  // namespace quillmere
