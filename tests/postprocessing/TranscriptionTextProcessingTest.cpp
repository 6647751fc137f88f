#include "postprocessing/TranscriptionTextProcessing.h"

namespace quillmere {
namespace {

using P = TranscriptionTextProcessing;
using Kind = P::TextSegment::Kind;

TEST(RemoveHallucinationsTest, Table) {
  const std::pair<const char*, const char*> cases[] = {
      {"[MUSIC] (Applause)", ""},
      {"42", ""},
      {"123", "123"},
      {"好", "好"},
      {"Well, thank you for watching! Bye.", "Well, Bye."},
      {"THANKS FOR WATCHING!", ""},
      {"Please subscribed", "d"},
      {"Transcribed by https://otter.ai", ""},
      {">>> Hello  >>>", "Hello"},
      {"one\n\n two\u00a0three\u3000four", "one two three four"},
      {"[Mu[Music]sic]", "[Music]"},  // one pass: what a removal puts together stays
      {"👍", ""},                     // one character, and no letter
  };
  for (const auto& [text, expected] : cases)
    EXPECT_EQ(P::removeHallucinations(QString::fromUtf8(text)), QString::fromUtf8(expected)) << text;
}

TEST(ApplyVoiceCommandsTest, Table) {
  const std::pair<const char*, const char*> cases[] = {
      {"one new line two", "one \n\n two"}, {"One. New Line. Two", "One. \n\n Two"},
      {"new\u00a0\n line", "\n\n"},         {"new line..", "\n\n."},
      {"renewline", "renewline"},           {"a new liner", "a \n\nr"},
  };
  for (const auto& [text, expected] : cases)
    EXPECT_EQ(P::applyVoiceCommands(QString::fromUtf8(text)), QString::fromUtf8(expected)) << text;
}

TEST(AppendTrailingSpaceTest, Table) {
  struct Case {
    const char* text;
    const char* language;
    bool hasSpace;
  };
  const Case cases[] = {
      {"日本語です", "ja", false},
      {"你好", "zh-HK", false},
      {"你好", "yue", true},
      {"你好", "en", true},
      {"สวัสดี", "th", false},
      {"Hello", "auto", true},
      {"日本語 abcdefg", "auto", true},      // 3 of 10: not more than three tenths
      {"日本語 abcdef", "auto", false},      // 3 of 9
      {"日 。 、 、 、 ab", "auto", false},  // spaces and punctuation don't count
  };
  for (const Case& c : cases) {
    const QString text = QString::fromUtf8(c.text);
    EXPECT_EQ(P::appendTrailingSpace(text, QString::fromLatin1(c.language)), c.hasSpace ? text + u' ' : text)
        << c.text << ' ' << c.language;
  }
  for (const char* unchanged : {"", "done ", "done\n", "done\u00a0"})
    EXPECT_EQ(P::appendTrailingSpace(QString::fromUtf8(unchanged), "en"), QString::fromUtf8(unchanged));
}

ProcessedTag tag(qsizetype start, qsizetype end, const char* replacement = "file") {
  ProcessedTag result;
  result.replacement = QString::fromUtf8(replacement);
  result.replacementRange = TextRange{start, end};
  result.matchedFile = "/project/file";
  return result;
}

std::vector<P::TextSegment> segments(std::initializer_list<std::pair<Kind, const char*>> list) {
  std::vector<P::TextSegment> result;
  for (const auto& [kind, text] : list) result.push_back({kind, QString::fromUtf8(text)});
  return result;
}

TEST(SegmentTextTest, CutsAtTheTags) {
  const QString text = "see @a and @b.";
  EXPECT_EQ(P::segmentText(text, {tag(11, 13), tag(4, 6)}), segments({{Kind::text, "see "},
                                                                      {Kind::fileReference, "@a"},
                                                                      {Kind::text, " and "},
                                                                      {Kind::fileReference, "@b"},
                                                                      {Kind::text, "."}}));
  EXPECT_EQ(P::segmentText("@a@b", {tag(0, 2), tag(2, 4)}),
            segments({{Kind::fileReference, "@a"}, {Kind::fileReference, "@b"}}));
  // The end is cut to the text's end.
  EXPECT_EQ(P::segmentText("see @a", {tag(4, 60)}), segments({{Kind::text, "see "}, {Kind::fileReference, "@a"}}));
}

TEST(SegmentTextTest, BadRangesAreDropped) {
  ProcessedTag withoutFile = tag(0, 2);
  withoutFile.matchedFile.reset();
  ProcessedTag withoutRange = tag(0, 2);
  withoutRange.replacementRange.reset();
  const auto result = P::segmentText("see @a and", {withoutFile, withoutRange, tag(4, 6, "good"), tag(5, 8, "overlap"),
                                                    tag(6, 6, "empty"), tag(9, 7, "reversed"), tag(40, 50, "beyond")});
  EXPECT_EQ(result, segments({{Kind::text, "see "}, {Kind::fileReference, "@a"}, {Kind::text, " and"}}));
}

}  // namespace
}  // namespace quillmere
