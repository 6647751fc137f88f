#include "DeliveryFixture.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Kind = PasteOutcome;

class SegmentedPasteTest : public DeliveryFixture {
 protected:
  SegmentedPasteTest() { putInFront("com.microsoft.VSCode"); }
  static std::vector<ProcessedTag> matched() {
    ProcessedTag tag;
    tag.matchedFile = "/src/main.cpp";
    return {tag};
  }
  QStringList written() const {
    QStringList texts;
    for (const auto& write : pasteboard.writes) texts.append(write.text);
    return texts;
  }
  PasteRequest tagged(const QString& text, std::vector<ProcessedTag> tags = matched()) {
    PasteRequest one = request(text);
    one.tags = std::move(tags);
    return one;
  }
};

TEST_F(SegmentedPasteTest, AFileReferenceIsAcceptedFromTheCompletion) {
  segments = {{"See ", false}, {"@main.cpp", true}, {" now", false}};
  std::vector<Duration> moments;
  const TimePoint start = executor.now();
  keys.onStroke = [&](const QString&) { moments.push_back(executor.now() - start); };
  EXPECT_EQ(paste(tagged("See @main.cpp now")), Kind::pasted);
  EXPECT_EQ(written(), (QStringList{"See ", "@main.cpp", " ", " now"}));
  EXPECT_EQ(keys.strokes,
            (QStringList{"control+55", "control+55", "control+space", "tab", "control+55", "control+55"}));
  ASSERT_EQ(moments.size(), 6u);
  EXPECT_EQ(moments[2] - moments[1], Duration(560ms)) << "60 ms of the fetch, 500 ms before the completion";
  EXPECT_EQ(moments[3] - moments[2], Duration(200ms));
  EXPECT_EQ(moments[4] - moments[3], Duration(300ms));
  for (const QString& line : lines->publicLines()) EXPECT_FALSE(line.contains("main.cpp")) << line.toStdString();
  executor.advance(11s);
  EXPECT_TRUE(isOriginalBack());
}

TEST_F(SegmentedPasteTest, WithoutAFoundFileTheTextGoesWhole) {
  segments = {{"never", true}};
  ProcessedTag unmatched;
  EXPECT_EQ(paste(tagged("See @{nothing}", {unmatched})), Kind::pasted);
  EXPECT_EQ(written(), QStringList{"See @{nothing}"});
  segments.clear();  // nobody cuts
  EXPECT_EQ(paste(tagged("whole")), Kind::pasted);
  EXPECT_EQ(written().last(), "whole");
}

TEST_F(SegmentedPasteTest, TheFiftyFirstPieceIsLeftOut) {
  for (int i = 1; i <= 51; ++i) segments.push_back({QString::number(i), false});
  EXPECT_EQ(paste(tagged("x")), Kind::pasted);
  EXPECT_EQ(keys.strokes.size(), 50);
  EXPECT_EQ(written().last(), "50");
}

TEST_F(SegmentedPasteTest, APieceThatNobodyFetchedIsAFailureAndTheRestGoesOn) {
  segments = {{"one", false}, {"two", false}};
  pasteboard.isFetchedWhenExpected = false;
  EXPECT_EQ(paste(tagged("x")), Kind::failed);
  EXPECT_EQ(keys.strokes.size(), 2);
  EXPECT_EQ(clipboardText(), "x") << "the whole text is left, not a piece";
  executor.advance(60s);
  EXPECT_EQ(clipboardText(), "x");
  pasteboard.fetch();
  executor.advance(11s);
  EXPECT_TRUE(isOriginalBack());
}

TEST_F(SegmentedPasteTest, NoKeyOfTheCompletionReachesAPasswordField) {
  segments = {{"@main.cpp", true}};
  accessibility.focus(passwordField());
  EXPECT_EQ(paste(tagged("one two")), Kind::secureField);
  EXPECT_EQ(clipboardText(), "one two");
  EXPECT_EQ(keys.strokes.size(), 0);

  accessibility.focus(node("AXTextField"));
  keys.onStroke = [&](const QString&) { accessibility.focus(passwordField()); };
  EXPECT_EQ(paste(tagged("x")), Kind::failed);
  EXPECT_EQ(keys.strokes, QStringList{"control+55"});
}

TEST_F(SegmentedPasteTest, ACancelStopsBeforeTheNextPieceAndGivesTheClipboardBack) {
  segments = {{"one", false}, {"@f", true}, {"three", false}};
  for (const auto moment : {250ms, 400ms, 900ms, 1100ms}) {
    pasteboard.copyElsewhere(original);
    keys.strokes.clear();
    TaskScope scope(executor);
    auto pasting = scope.spawn(handler.paste(tagged("x")));
    executor.advance(moment);
    const auto sent = keys.strokes.size();
    pasting.cancel();
    executor.advance(5s);
    EXPECT_EQ(clipboardText(), "x") << moment.count();
    EXPECT_EQ(keys.strokes.size(), sent) << moment.count();
    executor.advance(6s);
    EXPECT_TRUE(isOriginalBack()) << moment.count();
  }
}

}  // namespace
}  // namespace quillmere
