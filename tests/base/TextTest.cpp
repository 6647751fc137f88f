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
      {"abc", 3},
      {accented + accented, 2},
      {"a\u0300\u0301\u0302\u0303b", 2},
      {family, 1},
      {QStringLiteral("x") + family + "y", 3},
      {"\U0001F44D\U0001F3FD", 1},                                                    // skin tone
      {"\U0001F469\U0001F3FD\u200D\U0001F680", 1},                                    // with a profession
      {"\u2764\uFE0F\u200D\U0001F525", 1},                                            // variation and joiner
      {"1\uFE0F\u20E3", 1},                                                           // keycap
      {"\U0001F3F4\U000E0067\U000E0062\U000E0065\U000E006E\U000E0067\U000E007F", 1},  // tag sequence
      {flag + flag, 2},
      {flag + "\U0001F1EB", 2},  // half a flag
      {"a\r\nb", 3},
      {"\n\r", 2},
      {"\u1100\u1161\u11A8", 1},    // Hangul in parts
      {"\u0928\u093F", 1},          // Devanagari with a vowel sign
      {QString(QChar(0xD83D)), 1},  // half a surrogate pair
      {QStringLiteral("a") + QChar(0xDC4D) + "b", 3},
      {QString(QChar(0)) + "a", 2},
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
      {1, 2, family + accented},
      {1, -1, family + accented + "d"},
      {3, 5, "d"},
      {4, 1, QString()},
      {-2, 3, "a"},
      {-1, -1, text},
      {2, 1000000, accented + "d"},
  };
  for (const auto& [from, n, slice] : cases) EXPECT_EQ(sliceGraphemes(text, from, n), slice) << from << ", " << n;
}

TEST(TextTest, TrimsUnicodeWhiteSpaceAndLineEnds) {
  const QString white = " \t\n\v\f\r\u0085\u00A0\u1680\u2000\u2003\u200A\u2028\u2029\u202F\u205F\u3000";
  EXPECT_EQ(trimmedText(white), QString());
  EXPECT_EQ(trimmedText(white + QStringLiteral("a") + white + QStringLiteral("b") + white),
            QStringLiteral("a") + white + "b");
  for (const char16_t kept : {u'\u200B', u'\uFEFF', u'\u200D', u'\u0000'})
    EXPECT_EQ(trimmedText(QChar(kept)), QString(QChar(kept)));
}

TEST(TextTest, ComparesWithoutRegardToCase) {
  struct {
    const char16_t *a, *b;
    bool isEqual;
  } const cases[] = {
      {u"ABC", u"abc", true}, {u"STRASSE", u"straße", true}, {u"ẞ", u"ß", true}, {u"ΣΊΣΥΦΟΣ", u"σίσυφος", true},
      {u"ÄÖÜ", u"äöü", true}, {u"a", u"ä", false},           {u"Ǆ", u"ǆ", true}, {u"", u"", true},
      {u"K", u"k", true},  // the Kelvin sign
      {u"𐐀", u"𐐨", true},  // outside the basic plane
  };
  for (const auto& [a, b, isEqual] : cases) {
    const QString left = QString::fromUtf16(a), right = QString::fromUtf16(b);
    EXPECT_EQ(equalsIgnoringCase(left, right), isEqual) << qPrintable(left) << " " << qPrintable(right);
    EXPECT_EQ(caseFolded(left) == caseFolded(right), isEqual);
    EXPECT_EQ(containsIgnoringCase(QStringLiteral("<") + left + ">", right), isEqual);
  }
}

TEST(TextTest, FoldsForSearching) {
  struct {
    const char16_t *text, *folded;
  } const cases[] = {
      {u"Café", u"cafe"}, {u"cafe\u0301", u"cafe"}, {u"ÅNGSTRÖM", u"angstrom"},
      {u"ﬁne", u"fine"},  {u"ＡＢＣ", u"abc"},      {u"Straße", u"strasse"},
      {u"한국", u"한국"}, {u"日本", u"日本"},       {u"Ελλάδα", u"ελλαδα"},
      {u"", u""},
  };
  for (const auto& [text, folded] : cases)
    EXPECT_EQ(foldedForSearch(QString::fromUtf16(text)), QString::fromUtf16(folded));
}

TEST(UnicodeRegexTest, KnowsLettersDigitsAndBoundariesOfAllScripts) {
  const auto word = unicodeRegex("\\b\\w+\\b");
  EXPECT_EQ(word.match("  größe!").captured(), "größe");
  EXPECT_EQ(word.match("«слово»").captured(), "слово");
  EXPECT_TRUE(unicodeRegex("^\\d\\s$").match("\u0663\u3000").hasMatch());
  EXPECT_TRUE(unicodeRegex("ÄRGER", true).match("ärger").hasMatch());
  EXPECT_FALSE(unicodeRegex("ÄRGER").match("ärger").hasMatch());
  EXPECT_FALSE(makeUnicodeRegex("(").isValid());
}

TEST(UnicodeRegexTest, EscapedTextMatchesItselfOnly) {
  for (const char16_t* text : {u"a.b", u"C++ (x|y)[0]{2}^$?*\\", u"größe", u"\U0001F468\u200D\U0001F469", u"#-&~ \n"}) {
    const QString literal = QString::fromUtf16(text);
    const auto regex = unicodeRegex(QStringLiteral("^") + escapedPattern(literal) + "$");
    EXPECT_TRUE(regex.match(literal).hasMatch()) << qPrintable(literal);
    EXPECT_FALSE(regex.match(literal + "x").hasMatch());
  }
  EXPECT_FALSE(unicodeRegex(escapedPattern("a.b")).match("axb").hasMatch());
}

TEST(UnicodeRegexTest, ReplacementsAreTakenLiterally) {
  const auto digit = unicodeRegex("(\\d)");
  EXPECT_EQ(replaceMatches("a1b2", digit, "\\1$&"), "a\\1$&b\\1$&");
  EXPECT_EQ(replaceMatches("ab", digit, "x"), "ab");
  EXPECT_EQ(replaceMatches("123", digit, QString()), QString());
  EXPECT_EQ(replaceMatches("ab", unicodeRegex("^|$"), "-"), "-ab-");
  EXPECT_EQ(replaceMatches(QString(), unicodeRegex("^"), "-"), "-");
}

}  // namespace
