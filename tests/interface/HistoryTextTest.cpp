#include "interface/HistoryText.h"

#include <gtest/gtest.h>

#include "base/text/Graphemes.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

QString marked(const QString& text, const QString& search) {
  QString result;
  int done = 0;
  for (const TextRange& hit : searchHits(text, search)) {
    result += text.mid(done, hit.start - done) + u'[' + text.mid(hit.start, hit.length) + u']';
    done = hit.start + hit.length;
  }
  return result + text.mid(done);
}

TEST(HistoryText, MarksWhatTheSearchMeant) {
  const std::vector<std::array<const char*, 3>> cases{
      {"The quarterly quarter", "quarter", "The [quarter]ly [quarter]"},
      {"headquarters, quarter", "quarter", "headquarters, [quarter]"},
      {"headquarters", "quarter", "head[quarter]s"},
      {"Café CAFE cafe\xCC\x81s", "cafe", "[Café] [CAFE] [cafe\xCC\x81]s"},
      {"Die Straße", "STRASSE", "Die [Straße]"},
      {"one two three", "three one", "[one] two [three]"},
      {"one two three", "\"two three\"", "one [two three]"},
      {"aaa", "aa a", "[aa]a"},
      {"日本語のテキスト", "テキ", "日本語の[テキ]スト"},
      {"👨‍👩‍👧 family", "fam", "👨‍👩‍👧 [fam]ily"},
      {"nothing", "", "nothing"},
      {"100% of <b>", "% <b", "100[%] of [<b]>"}};
  for (const auto& [text, search, expected] : cases)
    EXPECT_EQ(marked(QString::fromUtf8(text), QString::fromUtf8(search)), QString::fromUtf8(expected)) << search;
}

TEST(HistoryText, EscapesWhatPeopleSay) {
  EXPECT_EQ(markedHtml(QStringLiteral("<script> & \"x\""), {{0, 8}}),
            QStringLiteral("<span class=\"hit\">&lt;script&gt;</span> &amp; &quot;x&quot;"));
}

TEST(HistoryText, CutsAroundTheFirstHit) {
  const QString word = QStringLiteral("word ");
  const QString longText = word.repeated(100) + QStringLiteral("needle ") + word.repeated(100);
  EXPECT_TRUE(excerpt(longText, {}, 60).text.endsWith(QStringLiteral("word…")));
  const Excerpt middle = excerpt(longText, QStringLiteral("needle"), 60);
  EXPECT_TRUE(middle.text.startsWith(QStringLiteral("…word"))) << qPrintable(middle.text);
  ASSERT_EQ(middle.hits.size(), 1U);
  EXPECT_EQ(middle.text.mid(middle.hits[0].start, middle.hits[0].length), QStringLiteral("needle"));

  EXPECT_EQ(excerpt(QStringLiteral("  a\r\nb\n "), {}, 60).text, QStringLiteral("a b"));
  // No blanks to cut at, and never through a character.
  const QString families = QStringLiteral("👨‍👩‍👧").repeated(40);
  for (const int length : {10, 11, 12, 13, 14, 15, 16})
    EXPECT_EQ(excerpt(families, {}, length).text.chopped(1).size() % QStringLiteral("👨‍👩‍👧").size(), 0)
        << length;
}

TEST(HistoryText, NamesDaysAndLengths) {
  const TestTexts texts;
  const QLocale english(QLocale::English, QLocale::UnitedKingdom);
  const QDate today(2026, 3, 12);
  EXPECT_EQ(dayHeading(today.addDays(-6), today, english), QStringLiteral("Friday"));
  for (const int days : {-7, 1})
    EXPECT_EQ(dayHeading(today.addDays(days), today, english),
              english.toString(today.addDays(days), QLocale::LongFormat));
  const std::pair<double, const char*> clocks[] = {
      {7.99, "0:07"}, {60, "1:00"}, {3600, "1:00:00"}, {-3, "0:00"}, {36'061, "10:01:01"}};
  for (const auto& [seconds, text] : clocks) EXPECT_EQ(clockText(seconds), QLatin1String(text));
  EXPECT_EQ(durationText(59.6), QStringLiteral("1:00\u00A0min"));
}

TEST(HistoryText, KnowsFailuresOldAndNew) {
  const TestTexts texts;
  Transcript t;
  t.status = QStringLiteral("completed");
  t.text = QStringLiteral("fine");
  EXPECT_FALSE(hasFailed(t));
  t.text = QStringLiteral("Retry failed: no network");
  EXPECT_TRUE(hasFailed(t)) << "rows from before there was a status";
  EXPECT_EQ(failureText(t), QStringLiteral("no network"));
  t.failedReason = QStringLiteral("The disk is full.");
  EXPECT_EQ(failureText(t), QStringLiteral("The disk is full."));
  EXPECT_FALSE(failureText(Transcript()).isEmpty());
}

}  // namespace
}  // namespace quillmere
