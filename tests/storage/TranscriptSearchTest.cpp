#include "storage/TranscriptSearch.h"

#include "storage/StoreFixture.h"

namespace quillmere {
namespace {

class TranscriptSearchTest : public StoreFixture {
 public:
  std::unique_ptr<PersistenceController> store = openStoreHere();

  TranscriptPtr add(const QString& text) {
    clock.set(clock.now().addSecs(1));
    const TranscriptPtr transcript = store->createTranscript(1, {}, {});
    transcript->text = text;
    store->save();
    return transcript;
  }
  QString found(const QString& search) {
    QStringList texts;
    const TranscriptPage page = store->fetchTranscriptPage(100, 0, search);
    for (const TranscriptPtr& transcript : page.transcripts) texts << *transcript->text;
    EXPECT_EQ(page.totalCount, texts.size()) << search.toStdString();
    return texts.join(" | ");
  }
};

TEST_F(TranscriptSearchTest, WhatFindsWhat) {
  for (const char* text : {"The quick brown fox", "Quick meeting about the Straßenbahn", "Crème brûlée für zwei",
                           "今天的会议很重要。", "東京タワーに行きました", "สวัสดีครับ",
                           "C++ and foo-bar, 100% sure_thing", "don't panic 🙂", "Ελλάδα ΣΊΣΥΦΟΣ", "наступний тиждень"})
    add(text);
  // The pieces "quick bro" and "AßENBAH" are no words but stand so in a text; "ickrow" has both halves in one text,
  // apart.
  const std::pair<const char*, std::vector<const char*>> cases[] = {
      {"Quick meeting about the Straßenbahn | The quick brown fox", {"quick", "QUI"}},
      {"The quick brown fox", {"fox quick", "\"quick brown\"", "\"quick bro\""}},
      {"", {"\"brown quick\"", "bahn rown", "rowrow", "ickrow", "RASSEN", "议会", "nothing like this"}},
      {"Crème brûlée für zwei", {"creme brulee", "FÜR"}},
      {"Quick meeting about the Straßenbahn", {"bahn", "AßENBAH", "ahn raß", "ahn ß"}},
      {"наступний тиждень", {"ижд", "ИЖДЕ", "ТИЖ"}},
      {"今天的会议很重要。", {"会议", "的会", "重"}},
      {"東京タワーに行きました", {"タワー", "東京 行き"}},
      {"สวัสดีครับ", {"ครับ"}},
      {"C++ and foo-bar, 100% sure_thing | Crème brûlée für zwei", {"c++"}},
      {"C++ and foo-bar, 100% sure_thing", {"++", "foo-bar", "100%", "e_t", "%"}},
      {"don't panic 🙂", {"🙂", "don't"}},
      {"Ελλάδα ΣΊΣΥΦΟΣ", {"σίσυφος"}},
  };
  for (const auto& [expected, searches] : cases)
    for (const char* search : searches) EXPECT_EQ(found(search), expected) << search;
}

TEST_F(TranscriptSearchTest, NothingThatIsTypedIsAnError) {
  add("one text: with AND between");
  reporting.reports.clear();
  for (const QString& typed :
       {QString("AND"), QString("\""), QString("\"\""), QString("\"\"\"a"), QString("* ^ NEAR( NOT"), QString("text:"),
        QString("mode : x"), QString("{a b} : c"), QString("-x +y"), QString("'; DROP TABLE Transcript; --"),
        QString(QChar(0)), QString(QChar(0xD800)), QString("\\"), QString("a ").repeated(5000),
        QString("x").repeated(100000)})
    store->fetchTranscriptPage(10, 0, typed);
  EXPECT_TRUE(reporting.reports.empty());
  EXPECT_EQ(found("AND"), "one text: with AND between");
  EXPECT_EQ(found("text:"), "one text: with AND between");
  for (const char* blank : {"", "  ", "\t\n"}) EXPECT_EQ(store->countTranscripts(QString(blank)), 1);
}

TEST_F(TranscriptSearchTest, AllTextsAndTheModesNameAreSearchedAndFollowTheRow) {
  const auto expect = [this](std::initializer_list<const char*> pieces, const char* text) {
    for (const char* piece : pieces) EXPECT_EQ(found(piece), text) << piece;
  };
  const TranscriptPtr transcript = add("xonex");
  transcript->transcribedText = "xtwox";
  transcript->postProcessedText = "xonex";  // equal texts are in the index once
  transcript->mode = "xmodex";
  transcript->failedReason = "unsearched";
  store->save();
  expect({"xone", "xtwox", "xmod", "one", "two", "mode", "one two mod"}, "xonex");
  expect({"unsearched", "nsear"}, "");
  transcript->text = "xnewx";
  store->save();
  expect({"one", "onex", "two", "new"}, "xnewx");
  transcript->postProcessedText.reset();
  transcript->transcribedText = "xnewx";
  store->save();
  expect({"one", "two", "xtwox"}, "");
  expect({"newx"}, "xnewx");
  store->deleteTranscript(transcript);
  expect({"new", "ewx", "mode", "xnewx"}, "");
}

TEST_F(TranscriptSearchTest, SignsAreSoughtInTheNewestTranscripts) {
  add("oldest ++ and =>=");
  for (int i = 0; i < 9'999; ++i) store->insertTranscript()->text = "-";
  ASSERT_TRUE(store->save());
  EXPECT_EQ(store->countTranscripts("++"), 1);
  add("newest");
  EXPECT_EQ(store->countTranscripts("++"), 0);
  EXPECT_EQ(store->countTranscripts("=>="), 1);
  EXPECT_EQ(store->countTranscripts("++ ldes"), 1);
}

TEST_F(TranscriptSearchTest, PagesAreByDateWhicheverWayTheyAreFound) {
  // Rare words are looked up one by one, frequent ones by a walk along the dates; both must agree on the order.
  std::vector<std::pair<qint64, QString>> all;
  for (int i = 0; i < 400; ++i) {
    const TranscriptPtr transcript = store->insertTranscript();
    const qint64 date = (i * 7919LL) % 400;
    transcript->date = QDateTime::fromMSecsSinceEpoch(date / 2, Qt::UTC);  // with equal dates
    transcript->text = QString("number%1 common%2").arg(i).arg(i % 40 == 0 ? " rare" : "");
  }
  const TranscriptPtr undated = store->insertTranscript();
  undated->text = "common rare undated";
  ASSERT_TRUE(store->save());
  const auto everything = store->fetchTranscripts(-1);
  ASSERT_EQ(everything.back(), undated);
  for (const char* word : {"common", "rare"}) {
    std::vector<TranscriptPtr> expected;
    for (const TranscriptPtr& transcript : everything)
      if (transcript->text->contains(word)) expected.push_back(transcript);
    EXPECT_EQ(store->fetchTranscripts(-1, 0, QString(word)), expected) << word;
    std::vector<TranscriptPtr> paged;
    for (int offset = 0; offset < static_cast<int>(expected.size()); offset += 7)
      for (const TranscriptPtr& transcript : store->fetchTranscripts(7, offset, QString(word)))
        paged.push_back(transcript);
    EXPECT_EQ(paged, expected) << word;
  }
}

}  // namespace
}  // namespace quillmere
