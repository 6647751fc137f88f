#include "DeliveryFixture.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

// What becomes of the user's clipboard.
using ClipboardTest = DeliveryFixture;

TEST_F(ClipboardTest, ATextThatNobodyFetchedStaysUntilSomebodyDoes) {
  pasteboard.isFetchedWhenExpected = false;
  EXPECT_EQ(paste("words"), PasteOutcome::notFetched);
  executor.advance(3600s);
  EXPECT_EQ(clipboardText(), "words");
  pasteboard.fetch();
  executor.advance(9s);
  EXPECT_EQ(clipboardText(), "words") << "he may paste it once more";
  executor.advance(2s);
  EXPECT_TRUE(isOriginalBack());
}

TEST_F(ClipboardTest, WhatTheUserCopiedMeanwhileIsNotTouched) {
  for (const bool isFetched : {true, false}) {
    for (const bool isCopiedHere : {true, false}) {
      pasteboard.copyElsewhere(original);
      pasteboard.isFetchedWhenExpected = isFetched;
      paste("words");
      executor.advance(5s);
      isCopiedHere ? void(handler.copyForUser("newer")) : pasteboard.copyElsewhere("newer");
      executor.advance(60s);
      EXPECT_EQ(clipboardText(), "newer") << isFetched << isCopiedHere;
      handler.restoreNow();
      EXPECT_EQ(clipboardText(), "newer") << isFetched << isCopiedHere;
    }
  }
}

TEST_F(ClipboardTest, OverlappingDictationsGiveBackTheUsersOwn) {
  const auto first = borrow();
  const auto second = borrow();
  paste(request("one", targetPID, first));
  executor.advance(4s);
  const auto third = borrow();  // while the text of the first one is there
  paste(request("two", targetPID, second));
  executor.advance(9s);
  EXPECT_EQ(clipboardText(), "two") << "the restore of the first one is off";
  executor.advance(2s);
  EXPECT_TRUE(isOriginalBack());
  paste(request("three", targetPID, third));
  executor.advance(4s);
  borrow().reset();  // of which nothing is pasted
  executor.advance(7s);
  EXPECT_TRUE(isOriginalBack()) << "a loan from the time when a text was there";
  paste("four");
  executor.advance(5s);
  handler.restoreNow();
  EXPECT_TRUE(isOriginalBack());
}

TEST_F(ClipboardTest, WhatChangedBetweenLoanAndPasteIsReadAnew) {
  const auto loan = borrow();
  pasteboard.copyElsewhere("between");
  paste(request("one", targetPID, loan));
  executor.advance(11s);
  EXPECT_EQ(clipboardText(), "between");

  // Also while it is read.
  pasteboard.readTakes = 500ms;
  TaskScope scope(executor);
  auto borrowing = scope.spawn(handler.borrowClipboard());
  executor.advance(100ms);
  pasteboard.copyElsewhere(original);
  const auto mixed = runTask(executor, borrowing.join());
  auto pasting = scope.spawn(handler.paste(request("two", targetPID, mixed)));
  executor.advance(250ms);
  pasteboard.copyElsewhere("newest");
  executor.advance(15s);
  EXPECT_EQ(clipboardText(), "newest");
}

TEST_F(ClipboardTest, NothingIsRestoredWhereNothingWasSavedOrNobodyWantsIt) {
  pasteboard.copyElsewhere(ClipboardItems{});
  EXPECT_EQ(paste("words"), PasteOutcome::pasted);
  executor.advance(60s);
  EXPECT_EQ(clipboardText(), "words");

  settings.setRestoreClipboardAfterPaste(false);
  pasteboard.copyElsewhere(original);
  paste("words");
  executor.advance(60s);
  EXPECT_EQ(clipboardText(), "words");
}

TEST_F(ClipboardTest, TypesWithoutDataAreNotSaved) {
  ClipboardItemData hollow;
  hollow.types = {"image/png"};
  ClipboardItemData half;
  half.types = {"text/plain", "text/html"};
  half.data.insert("text/html", "<b>x</b>");
  pasteboard.copyElsewhere(ClipboardItems{hollow, half});
  paste("words");
  executor.advance(11s);
  ASSERT_EQ(pasteboard.contents.size(), 1u);
  EXPECT_EQ(pasteboard.contents.front().types, QStringList{"text/html"});
}

TEST_F(ClipboardTest, TheSelectionThatWasPastedFromComesBackToo) {
  putInFront("xterm");
  for (const bool isClipboardEmpty : {false, true}) {
    for (const auto& marked : {std::optional<QString>("marked"), std::optional<QString>()}) {
      pasteboard.copyElsewhere(isClipboardEmpty ? ClipboardItems{} : original);
      pasteboard.selectElsewhere(marked);
      EXPECT_EQ(paste("words"), PasteOutcome::pasted);
      EXPECT_EQ(pasteboard.selection, "words");
      executor.advance(11s);
      EXPECT_EQ(isOriginalBack(), !isClipboardEmpty);
      EXPECT_EQ(pasteboard.selection, marked);
    }
  }
  // What was marked meanwhile stays, and an owner that hangs holds up nobody.
  pasteboard.copyElsewhere(original);
  const auto loan = borrow();
  pasteboard.readTakes = 2s;
  const TimePoint start = executor.now();
  paste(request("words", targetPID, loan));
  EXPECT_LT(executor.now() - start, Duration(600ms));
  pasteboard.selectElsewhere("marked later");
  executor.advance(11s);
  EXPECT_TRUE(isOriginalBack());
  EXPECT_EQ(pasteboard.selection, "marked later");
}

TEST_F(ClipboardTest, AProgramThatTakesTheTextOverWhileItPastesHasFetchedIt) {
  pasteboard.isFetchedWhenExpected = false;
  keys.onStroke = [&](const QString&) { pasteboard.fetchAndTakeOver(); };
  EXPECT_EQ(paste("one"), PasteOutcome::pasted);
  EXPECT_TRUE(handler.isOnClipboard("one"));
  executor.advance(5s);
  EXPECT_EQ(paste("two"), PasteOutcome::pasted) << "while the other program has the first text";
  executor.advance(11s);
  EXPECT_TRUE(isOriginalBack());
  // A moment later than it pasted.
  keys.onStroke = [&](const QString&) { pasteboard.fetch(); };
  EXPECT_EQ(paste("three"), PasteOutcome::pasted);
  executor.advance(100ms);
  pasteboard.fetchAndTakeOver();
  executor.advance(11s);
  EXPECT_TRUE(isOriginalBack());
}

TEST_F(ClipboardTest, WaitingForTheRestoreEndsWhenItIsDoneOrWaitsForTheUser) {
  paste("words");
  const TimePoint start = executor.now();
  runTask(executor, handler.waitForRestore());
  EXPECT_GE(executor.now() - start, Duration(9s));
  EXPECT_TRUE(isOriginalBack());

  pasteboard.isFetchedWhenExpected = false;
  EXPECT_EQ(paste("words"), PasteOutcome::notFetched);
  runTask(executor, handler.waitForRestore());
  EXPECT_EQ(clipboardText(), "words");
}

}  // namespace
}  // namespace quillmere
