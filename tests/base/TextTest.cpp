#include "base/text/Folding.h"
#include "base/text/Graphemes.h"
#include "base/text/UnicodeRegex.h"

using namespace quillmere;

namespace {

const QString family = "\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466";
const QString accented = "e\u0301";
const QString flag = "\U0001F1E9\U0001F1EA";

TEST(GraphemesTest, CountWhatAReaderCounts) {
  struct {
    QString text;
    int count;
  } const cases[] = {
      {QString(), 0},
      {"a\u0300\u0301\u0302\u0303b", 2},
      {family, 1},
      {QStringLiteral("x") + family + "y", 3},
      {flag + flag, 2},
      {"a\r\nb", 3},
      {QString(QChar(0xD83D)), 1},  // half a surrogate pair
  };
  for (const auto& [text, count] : cases) {
    EXPECT_EQ(graphemeCount(text), count) << qPrintable(text);
    const QStringList parts = graphemes(text);
    EXPECT_EQ(parts.size(), count);
    EXPECT_EQ(parts.join(QString()), text);
    // Every cut gives back whole characters, and the two sides are the text.
    for (int n = -1; n <= count + 1; ++n) {
      const int inside = std::clamp(n, 0, count);
      EXPECT_EQ(leftGraphemes(text, n), parts.mid(0, inside).join(QString()));
      EXPECT_EQ(rightGraphemes(text, n), parts.mid(count - inside).join(QString()));
      EXPECT_EQ(leftGraphemes(text, n) + sliceGraphemes(text, n), text);
    }
  }
}

TEST(GraphemesTest, SlicesLeaveOutWhatLiesOutside) {
  const QString text = QStringLiteral("a") + family + accented + "d";
  struct {
    int from, n;
    QString slice;
  } const cases[] = {
      {1, 2, family + accented},    {1, -1, family + accented + "d"}, {-2, 3, "a"}, {-1, -1, text},
      {2, 1000000, accented + "d"},
  };
  for (const auto& [from, n, slice] : cases) EXPECT_EQ(sliceGraphemes(text, from, n), slice) << from << ", " << n;
}

TEST(TextTest, ComparesWithoutRegardToCase) {
  struct {
    const char16_t *a, *b;
    bool isEqual;
  } const cases[] = {
      {u"STRASSE", u"straße", true},
      {u"ẞ", u"ß", true},
      {u"ÄÖÜ", u"äöü", true},
      {u"a", u"ä", false},
  };
  for (const auto& [a, b, isEqual] : cases) {
    const QString left = QString::fromUtf16(a), right = QString::fromUtf16(b);
    EXPECT_EQ(equalsIgnoringCase(left, right), isEqual) << qPrintable(left) << " " << qPrintable(right);
    EXPECT_EQ(caseFolded(left) == caseFolded(right), isEqual);
    EXPECT_EQ(containsIgnoringCase(QStringLiteral("<") + left + ">", right), isEqual);
  }
}

TEST(UnicodeRegexTest, ReplacementsAreTakenLiterally) {
  const auto digit = unicodeRegex("(\\d)");
  EXPECT_EQ(replaceMatches("a1b2", digit, "\\1$&"), "a\\1$&b\\1$&");
  EXPECT_EQ(replaceMatches("ab", unicodeRegex("^|$"), "-"), "-ab-");
  EXPECT_EQ(replaceMatches(QString(), unicodeRegex("^"), "-"), "-");
}

}  // namespace
