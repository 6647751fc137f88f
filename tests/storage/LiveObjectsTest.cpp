#include <SQLiteCpp/SQLiteCpp.h>

#include "storage/StoreFile.h"
#include "storage/StoreFixture.h"

namespace quillmere {
namespace {

// Identity and unit of work. `other` stands for another process: a connection of its own.
class LiveObjectsTest : public StoreFixture {
 public:
  std::unique_ptr<PersistenceController> store = openStoreHere();
  std::unique_ptr<PersistenceController> other = openStoreHere();

  void refuseWrites(const QString& event) {
    auto database = openStore(path, Logger());
    ASSERT_TRUE(database);
    (*database)->exec("CREATE TRIGGER Refusal BEFORE " + event.toStdString() +
                      " BEGIN SELECT RAISE(ABORT, 'disk on strike'); END");
  }
  void acceptWrites() { openStore(path, Logger()).value()->exec("DROP TRIGGER Refusal"); }
};

TEST_F(LiveObjectsTest, AnObjectThatWasChangedAndLetGoIsSaved) {
  const QString id = store->createTranscript(1, {}, {})->id->toString();
  store->fetchTranscript(id)->text = "kept";
  store->insertRecordingSession()->deviceName = "never held";
  EXPECT_TRUE(store->hasChanges());
  // Before the save it is still the same object with the same change.
  EXPECT_EQ(store->fetchTranscript(id)->text, "kept");
  EXPECT_TRUE(store->save());
  EXPECT_FALSE(store->hasChanges());
  EXPECT_EQ(other->fetchTranscript(id)->text, "kept");
  EXPECT_EQ(other->fetchAllRecordingSessions().front()->deviceName, "never held");
  // The same for one that was reached through a link, and a new one that is deleted before its save.
  store->fetchTranscript(id)->recordingSession = store->fetchAllRecordingSessions().front();
  store->fetchTranscript(id)->recordingSession->deviceName = "linked";
  store->deleteTranscript(store->insertTranscript());
  EXPECT_EQ(other->fetchTranscript(id)->recordingSession->deviceName, "linked");
  EXPECT_EQ(other->countTranscripts(), 1);
  // A change that is taken back leaves nothing to write.
  {
    const TranscriptPtr transcript = store->fetchTranscript(id);
    transcript->text = "x";
    transcript->text = "kept";
  }
  EXPECT_FALSE(store->hasChanges());
}

TEST_F(LiveObjectsTest, OnlyChangedColumnsAreWritten) {
  const TranscriptPtr here = store->createTranscript(1, {}, {});
  const TranscriptPtr there = other->fetchTranscript(here->id->toString());
  here->text = "from here";
  there->status = "completed";
  EXPECT_TRUE(other->save());
  EXPECT_TRUE(store->save());
  for (PersistenceController* side : {store.get(), other.get()}) {
    const TranscriptPtr transcript = side->fetchTranscript(here->id->toString());
    EXPECT_EQ(transcript->text, "from here");
    EXPECT_EQ(transcript->status, "completed");
  }
}

TEST_F(LiveObjectsTest, ChangesOfOthersAreNoticedAndOwnOnesWin) {
  const TranscriptPtr here = store->createTranscript(1, {}, {});
  EXPECT_FALSE(store->refreshIfChanged() && store->refreshIfChanged());
  std::vector<StoreChange> heard;
  const Subscription subscription = store->observeChanges([&](const StoreChange& change) { heard.push_back(change); });
  const TranscriptPtr there = other->fetchTranscript(here->id->toString());
  there->text = "theirs";
  there->status = "completed";
  there->modeRelationship = other->fetchDefaultMode();
  other->save();
  here->text = "mine";
  EXPECT_TRUE(store->refreshIfChanged());
  EXPECT_EQ(here->text, "mine");
  EXPECT_EQ(here->status, "completed");
  EXPECT_EQ(here->modeRelationship, store->fetchDefaultMode());
  EXPECT_FALSE(store->refreshIfChanged());
  ASSERT_EQ(heard.size(), 1u);
  EXPECT_TRUE(heard[0].isFromOtherProcess);
  store->save();
  ASSERT_EQ(heard.size(), 2u);
  EXPECT_EQ(heard[1], (StoreChange{.transcripts = true}));
  EXPECT_FALSE(store->refreshIfChanged());  // one's own save is no news
  EXPECT_TRUE(other->refreshIfChanged());
  EXPECT_EQ(there->text, "mine");
}

TEST_F(LiveObjectsTest, ARowThatAnotherProcessDeletedStaysDeleted) {
  const ModePtr mode = store->saveMode(modeData("Doomed"));
  const TranscriptPtr transcript = store->createTranscript(1, {}, {});
  transcript->modeRelationship = mode;
  store->save();
  const TranscriptPtr second = store->createTranscript(2, {}, {});
  ASSERT_TRUE(other->deleteMode(other->fetchMode(*mode->id)));
  other->deleteTranscript(other->fetchTranscript(transcript->id->toString()));
  transcript->text = "too late";
  second->modeRelationship = mode;  // points at a row that is gone
  EXPECT_TRUE(store->save());
  EXPECT_FALSE(store->hasChanges());
  EXPECT_EQ(store->countTranscripts(), 1);
  store->refreshIfChanged();
  EXPECT_EQ(second->modeRelationship, nullptr);
  mode->name = "still readable";
  EXPECT_TRUE(store->save());
  EXPECT_EQ(store->fetchMode(*mode->id), nullptr);
}

TEST_F(LiveObjectsTest, AFailedSaveKeepsTheChangesAndDeletions) {
  const TranscriptPtr old = store->createTranscript(1, {}, {});
  refuseWrites("INSERT ON Transcript");
  old->text = "changed";
  clock.set(clock.now().addSecs(60));
  const TranscriptPtr fresh = store->createTranscript(2, {}, {});
  fresh->recordingSession = store->insertRecordingSession();
  EXPECT_TRUE(store->hasChanges());
  EXPECT_EQ(reportTexts(), QStringList{"Core Data save failed"});
  EXPECT_EQ(other->fetchTranscript(old->id->toString())->text, processingPlaceholder);  // all or nothing
  // The history has the row although the disk hasn't.
  EXPECT_EQ(store->fetchTranscripts(-1), (std::vector{fresh, old}));
  EXPECT_EQ(store->fetchTranscriptPage(1, 1).transcripts, std::vector{old});
  EXPECT_EQ(store->fetchTranscript(fresh->id->toString()), fresh);
  EXPECT_FALSE(store->save());
  acceptWrites();
  EXPECT_TRUE(store->save());
  EXPECT_EQ(other->fetchTranscript(old->id->toString())->text, "changed");
  EXPECT_NE(other->fetchTranscript(fresh->id->toString())->recordingSession, nullptr);

  refuseWrites("DELETE ON Transcript");
  store->deleteTranscript(fresh);
  EXPECT_TRUE(store->isSaveRefused());
  EXPECT_EQ(store->fetchTranscript(fresh->id->toString()), nullptr);
  EXPECT_EQ(store->countTranscripts(), 1);
  EXPECT_EQ(other->countTranscripts(), 2);
  acceptWrites();
  EXPECT_TRUE(store->save());
  EXPECT_EQ(other->countTranscripts(), 1);
}

TEST_F(LiveObjectsTest, ForeignObjectsAreLinkedByTheirIdentifier) {
  const auto copy = std::make_shared<Mode>(*store->fetchDefaultMode());
  const auto stranger = std::make_shared<Mode>();
  stranger->id = QUuid::createUuid();
  const TranscriptPtr a = store->createTranscript(1, {}, {}), b = store->createTranscript(2, {}, {});
  a->modeRelationship = copy;
  b->modeRelationship = stranger;
  EXPECT_TRUE(store->save());
  EXPECT_EQ(other->fetchTranscript(a->id->toString())->modeRelationship, other->fetchDefaultMode());
  EXPECT_EQ(other->fetchTranscript(b->id->toString())->modeRelationship, nullptr);
}

TEST_F(LiveObjectsTest, OddValuesComeBackAsTheyWere) {
  const TranscriptPtr made = store->insertTranscript();
  made->text = QString::fromLatin1("a\0b", 3) + "🙂\n\"'%_" + QString(QChar(0x0301));
  made->transcribedText = "";
  made->duration = -0.0;
  made->date = QDateTime::fromMSecsSinceEpoch(-1, Qt::UTC);
  made->retryCount = std::numeric_limits<qint16>::min();
  made->lastRetryDate = QDateTime(QDate(2026, 3, 29), QTime(1, 30, 0, 7), QTimeZone("Europe/Berlin"));
  EXPECT_TRUE(store->save());
  const TranscriptPtr read = other->fetchTranscript(made->id->toString());
  EXPECT_EQ(*read, *made);
  EXPECT_EQ(read->failedReason, std::nullopt);
  made->duration = std::nan("");  // a column can't hold it; it must not be written again and again
  EXPECT_TRUE(store->save());
  EXPECT_FALSE(store->hasChanges());
}

TEST_F(LiveObjectsTest, ObjectsOutliveTheStore) {
  const TranscriptPtr transcript = store->createTranscript(1, {}, {});
  transcript->modeRelationship = store->fetchDefaultMode();
  store->save();
  transcript->text = "unsaved";
  store.reset();
  EXPECT_EQ(transcript->modeRelationship->name, "Default");
  transcript->modeRelationship.reset();
}

TEST_F(LiveObjectsTest, AnObserverMaySaveAndEndItself) {
  int calls = 0;
  Subscription subscription;
  subscription = store->observeChanges([&](const StoreChange&) {
    if (++calls == 2) subscription.reset();
    store->createTranscript(calls, {}, {});
  });
  store->createTranscript(0, {}, {});
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(store->countTranscripts(), 3);
}

}  // namespace
}  // namespace quillmere
