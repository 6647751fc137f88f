#include "storage/PersistenceController.h"

#include <QFileInfo>
#include <limits>

#include "storage/StoreFixture.h"

namespace quillmere {
namespace {

class PersistenceControllerTest : public StoreFixture {};

TEST_F(PersistenceControllerTest, SeedsNewStoresOnlyWhileThereIsNoMode) {
  {
    auto store = openStoreHere();
    ASSERT_EQ(names(store->fetchAllModes()), QStringList{"Default"});
    const ModePtr seed = store->fetchDefaultMode();
    EXPECT_EQ(store->fetchMode(QString(defaultModeId)), seed);
    for (const char* text : {"", "Default", "0000", localDefaultModeId, "00000000-0000-0000-0000-00000000000x"})
      EXPECT_EQ(store->fetchMode(QString(text)), nullptr) << text;
    store->saveMode(modeData("Mine"));
    EXPECT_TRUE(store->deleteMode(seed));
  }
  EXPECT_EQ(names(openStoreHere()->fetchAllModes()), QStringList{"Mine"});
}

TEST_F(PersistenceControllerTest, SavingAModeFromTheEditor) {
  auto store = openStoreHere();
  ModeData data = modeData("Mail");
  const ModePtr mode = store->saveMode(data);
  EXPECT_EQ(mode->sortOrder, 1);  // after the seed
  EXPECT_FALSE(store->hasChanges());

  clock.set(utc("2026-03-11T08:00:00.000"));
  ModeData edited = modeDataFrom(*mode);
  edited.name = "Letters";
  EXPECT_EQ(store->saveMode(edited), mode);
  EXPECT_EQ(mode->createdDate, utc("2026-03-10T12:00:00.000"));
  EXPECT_EQ(mode->modifiedDate, clock.now());
  EXPECT_EQ(mode->sortOrder, 1);

  // An identifier without a row keeps it; creating never takes the data's identifier.
  data.id = QUuid::createUuid();
  EXPECT_EQ(store->saveMode(data)->id, data.id);
  EXPECT_NE(store->createMode(data)->id, data.id);

  // At the end of the 16 bits all are numbered anew.
  mode->sortOrder = std::numeric_limits<qint16>::max();
  store->saveMode(modeData("Last"));
  EXPECT_EQ(names(store->fetchAllModes()), QStringList({"Default", "Mail", "Mail", "Letters", "Last"}));
  EXPECT_EQ(store->fetchAllModes().back()->sortOrder, 5);
}

TEST_F(PersistenceControllerTest, DeletingAModeEmptiesTheLinksToIt) {
  auto store = openStoreHere();
  const ModePtr mode = store->saveMode(modeData("Gone"));
  const TranscriptPtr held = store->createTranscript(1, mode->name, {});
  held->modeRelationship = mode;
  store->createTranscript(2, mode->name, {})->modeRelationship = mode;
  store->save();
  ASSERT_TRUE(store->deleteMode(mode));
  EXPECT_EQ(held->modeRelationship, nullptr);
  EXPECT_FALSE(store->hasChanges());
  for (const TranscriptPtr& row : openStoreHere()->fetchTranscripts(-1)) {
    EXPECT_EQ(row->modeRelationship, nullptr);
    EXPECT_EQ(row->mode, "Gone");  // readers look it up by this name
  }
}

TEST_F(PersistenceControllerTest, ModesByNameAndOrder) {
  auto store = openStoreHere();
  const ModePtr b = store->saveMode(modeData("notes"));
  const ModePtr c = store->saveMode(modeData("Notes"));
  const ModePtr d = store->saveMode(modeData("Ärzte"));
  EXPECT_EQ(store->fetchModeByName("Notes").value(), c);
  EXPECT_EQ(store->fetchModeByName("ÄRZTE").value(), d);
  EXPECT_EQ(store->fetchModeByName("NOTES").error().kind, LookupFailure::Kind::ambiguous);
  EXPECT_EQ(store->fetchModeByName("NOTES").error().matchCount, 2);
  EXPECT_EQ(store->fetchModeByName("Note").error().kind, LookupFailure::Kind::notFound);

  store->setModeOrder({*d->id, QUuid::createUuid(), *b->id});
  EXPECT_EQ(names(store->fetchAllModes()), QStringList({"Ärzte", "notes", "Default", "Notes"}));
  EXPECT_EQ(c->sortOrder, 3);
  EXPECT_FALSE(store->hasChanges());
}

TEST_F(PersistenceControllerTest, WhatAKilledProcessLeavesBehind) {
  auto store = openStoreHere();
  const TranscriptPtr transcript = store->createTranscript(2.5, "Default", "/tmp/a.wav");
  store->setTrimmedAudioPath(transcript, "/tmp/b.wav");
  transcript->recordingSession = store->insertRecordingSession();
  store->updateTranscriptAudioPath(transcript, "/tmp/c.m4a");
  EXPECT_EQ(store->fetchTranscriptOfSession(transcript->recordingSession), transcript);
  auto other = openStoreHere();
  const TranscriptPtr again = other->fetchTranscript(transcript->id->toString(QUuid::Id128));
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(again->status, "processing");
  EXPECT_EQ(again->text, processingPlaceholder);
  EXPECT_EQ(again->trimmedAudioFilePath, "/tmp/b.wav");
  EXPECT_EQ(again->date, clock.now());
  EXPECT_EQ(again->recordingSession->audioFilePath, "/tmp/c.m4a");
}

TEST_F(PersistenceControllerTest, DeletingTranscriptsWithTheirFiles) {
  auto store = openStoreHere();
  const QString audio = writeFile(folder.filePath("a.wav")), trimmed = writeFile(folder.filePath("b.wav"));
  const TranscriptPtr both = store->createTranscript(1, {}, audio);
  const TranscriptPtr retried = store->createTranscript(1, {}, audio);
  store->setTrimmedAudioPath(both, trimmed);
  store->deleteTranscript(both);
  EXPECT_FALSE(QFileInfo::exists(trimmed));
  EXPECT_TRUE(QFileInfo::exists(audio)) << "another row needs it";
  // Two rows with one file, one whose file is gone, and one that names a folder, which must never go with it.
  EXPECT_TRUE(store->deleteTranscripts({retried, store->createTranscript(1, {}, audio),
                                        store->createTranscript(1, {}, folder.filePath("gone.wav")),
                                        store->createTranscript(1, {}, folder.path())}));
  EXPECT_FALSE(QFileInfo::exists(audio));
  EXPECT_FALSE(lines->contains("Failed to delete"));
  EXPECT_TRUE(QFileInfo::exists(path));
  EXPECT_EQ(store->countTranscripts(), 0);

  const TranscriptPtr nameless = store->createTranscript(1, {}, {});
  nameless->id.reset();
  store->deleteTranscript(nameless);
  store->updateTranscriptAudioPath(nameless, "/x");
  EXPECT_EQ(store->countTranscripts(), 1);
  EXPECT_EQ(nameless->audioFilePath, std::nullopt);
}

TEST_F(PersistenceControllerTest, TranscriptsByBeginningOfTheIdentifier) {
  auto store = openStoreHere();
  const auto add = [&](const char* id) {
    const TranscriptPtr transcript = store->createTranscript(1, {}, {});
    transcript->id = QUuid::fromString(QString(id));
    store->save();
    return transcript;
  };
  const TranscriptPtr a = add("abcd1234-5678-4abc-8def-000000000001");
  const TranscriptPtr b = add("abcd1234-ffff-4abc-8def-000000000002");
  const struct {
    TranscriptPtr expected;
    int matches;
    QStringList typed;
  } cases[] = {
      {a,
       1,
       {"abcd1234-5678-4abc-8def-000000000001", "{ABCD1234-5678-4ABC-8DEF-000000000001}",
        "abcd123456784abc8def000000000001", "abcd12345"}},
      {b, 1, {" ABCD1234-F "}},
      {nullptr, 2, {"abcd1234"}},
      // "abc" is too little to mean one.
      {nullptr, 0, {"abc", "abce", "abcd1234-5678-4abc-8def-0000000000012", "last", "abcd' OR 1=1 --", ""}},
  };
  for (const auto& [expected, matches, texts] : cases) {
    for (const QString& typed : texts) {
      const auto found = store->findTranscript(typed);
      EXPECT_EQ(found ? found.value() : nullptr, expected) << typed.toStdString();
      EXPECT_EQ(found ? 1 : found.error().matchCount, matches) << typed.toStdString();
    }
  }
}

TEST_F(PersistenceControllerTest, VocabularyHasEachWordOnceInAnyCase) {
  auto store = openStoreHere();
  EXPECT_TRUE(store->addVocabularyItem(" word\n", "  "));
  const VocabularyPtr word = store->fetchVocabularyItem("WORD ");
  ASSERT_NE(word, nullptr);
  EXPECT_EQ(word->word, "word");
  EXPECT_FALSE(store->addVocabularyItem("Word", "other"));
  EXPECT_EQ(word->replacement, std::nullopt);
  EXPECT_TRUE(store->addVocabularyItem("Größe", " Größe M "));
  EXPECT_FALSE(store->addVocabularyItem("GRÖßE"));
  EXPECT_EQ(store->fetchVocabularyItem("größe")->replacement, "Größe M");
  for (const char* refused : {"größe ", " "}) EXPECT_FALSE(store->updateVocabularyItem(*word->id, refused, {}));
  EXPECT_FALSE(store->updateVocabularyItem(QUuid::createUuid(), "new", {}));
  EXPECT_TRUE(store->updateVocabularyItem(*word->id, "WORD", "w"));  // its own word in another case
  EXPECT_TRUE(store->deleteVocabularyItem(QString("word")));
  EXPECT_FALSE(store->deleteVocabularyItem(QString("word")));
  store->deleteVocabularyItem(*store->fetchVocabularyItem("Größe")->id);
  EXPECT_TRUE(store->fetchAllVocabularyItems().empty());
}

TEST_F(PersistenceControllerTest, UsageRollsOverAtTheCalendarsMidnight) {
  calendar = QTimeZone(3600 * 5);  // 12:00 UTC is 17:00 there
  auto store = openStoreHere();
  const auto usage = store->getOrCreateUsageTracking();
  store->addTranscriptionUsage(30);
  store->addTranscriptionUsage(12);
  clock.set(utc("2026-03-10T18:59:59.000"));
  EXPECT_EQ(store->todaysTranscriptionSeconds(), 42);
  clock.set(utc("2026-03-10T19:00:00.000"));  // the next day there, the same day in UTC
  store->addTranscriptionUsage(7);
  EXPECT_EQ(usage->dailyTranscriptionSeconds, 7);
  clock.set(utc("2026-03-13T00:00:00.000"));
  EXPECT_EQ(store->todaysTranscriptionSeconds(), 0);
  EXPECT_EQ(usage->firstUsageDate, utc("2026-03-10T12:00:00.000"));
  EXPECT_FALSE(store->hasChanges());
}

TEST_F(PersistenceControllerTest, DiscardedRowsAreOnlyThereForThoseWhoAskForThem) {
  auto store = openStoreHere();
  const auto add = [&](const QString& status, const QString& text) {
    clock.set(clock.now().addSecs(60));
    const TranscriptPtr row = store->createTranscript(1, {}, {}, status);
    if (!text.isEmpty()) row->text = text;
    store->save();
    return row;
  };
  const TranscriptPtr done = add(TranscriptStatus::completed, "a bonfire"), waiting = add("processing", {});
  const TranscriptPtr gone = add(TranscriptStatus::discarded, {}),
                      spoken = add(TranscriptStatus::discarded, "fire now");
  waiting->status.reset();  // rows without a status are kept too
  store->save();
  EXPECT_EQ(gone->text, std::nullopt);
  using Rows = std::vector<TranscriptPtr>;
  const struct {
    HistoryFilter filter;
    Rows all, matching;
  } cases[] = {// "fire" begins a word of a discarded row only; among the kept ones it is a piece of one.
               {HistoryFilter::kept, {waiting, done}, {done}},
               {HistoryFilter::discarded, {spoken, gone}, {spoken}},
               {HistoryFilter::all, {spoken, gone, waiting, done}, {spoken}}};
  for (const auto& [filter, all, matching] : cases) {
    EXPECT_EQ(store->fetchTranscripts(-1, 0, {}, filter), all);
    EXPECT_EQ(store->countTranscripts({}, filter), std::ssize(all));
    EXPECT_EQ(store->fetchTranscripts(1, 1, {}, filter), Rows{all[1]});
    EXPECT_EQ(store->fetchTranscripts(-1, 0, "fire", filter), matching);
    EXPECT_EQ(store->countTranscripts(QString("fire"), filter), std::ssize(matching));
  }
  EXPECT_EQ(store->fetchTranscriptsWithStatus(TranscriptStatus::discarded), (Rows{spoken, gone}));
  EXPECT_EQ(store->findTranscript(gone->id->toString()).value(), gone);
}

}  // namespace
}  // namespace quillmere
