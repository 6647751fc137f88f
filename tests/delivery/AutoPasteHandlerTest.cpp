#include "delivery/AutoPasteHandler.h"

#include "DeliveryFixture.h"
#include "delivery/TextInputService.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

using AutoPasteHandlerTest = DeliveryFixture;

TEST_F(AutoPasteHandlerTest, EveryEndHasItsOutcomeAndResumesTheMonitor) {
  const struct {
    const char* name;
    std::function<void()> arrange;
    PasteOutcome outcome;
  } cases[] = {
      {"pasted", [] {}, PasteOutcome::pasted},
      {"secure", [&] { accessibility.focus(passwordField()); }, PasteOutcome::secureField},
      {"no target", [&] { accessibility.focus(node("AXButton")); }, PasteOutcome::noTarget},
      {"not fetched", [&] { pasteboard.isFetchedWhenExpected = false; }, PasteOutcome::notFetched},
      {"no bus", [&] { accessibility.trusted = pasteboard.isFetchedWhenExpected = false; }, PasteOutcome::noPermission},
      {"no keys", [&] { keys.available = false; }, PasteOutcome::failed},
  };
  for (const auto& one : cases) {
    accessibility.focus(node("AXTextField"));
    accessibility.trusted = pasteboard.isFetchedWhenExpected = keys.available = true;
    suspensions.clear();
    lines->clear();
    keys.onStroke = [&](const QString&) { EXPECT_EQ(suspensions, std::vector{true}) << one.name; };
    one.arrange();
    EXPECT_EQ(paste("words"), one.outcome) << one.name;
    EXPECT_EQ(suspensions, (std::vector{true, false})) << one.name;
    EXPECT_EQ(clipboardText(), "words") << one.name;
    for (const QString& line : lines->publicLines()) EXPECT_FALSE(line.contains("words")) << line.toStdString();
    if (isLeftOnClipboard(one.outcome)) pasteboard.fetch();
    executor.advance(1s);
    pasteboard.fetch();
    executor.advance(20s);
    EXPECT_TRUE(isOriginalBack()) << one.name;
  }
  ASSERT_EQ(alerts.size(), 1u);
  alerts.front().open();
  EXPECT_EQ(openedUrls, QStringList{"x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility"});
}

TEST_F(AutoPasteHandlerTest, OverlappingPastesGoToTheirTargetsInOrderAndTheFocusComesBack) {
  const RunningApplication third = application(300, "org.example.third");
  workspace.setFrontmost(third);
  const auto loan = borrow();
  QStringList pasted;
  keys.onStroke = [&](const QString&) { pasted << QString::number(workspace.frontmost->processId) + clipboardText(); };
  TaskScope scope(executor);
  auto first = scope.spawn(handler.paste(request("A", targetPID, loan)));
  auto second = scope.spawn(handler.paste(request("B", otherPID, loan)));
  auto last = scope.spawn(handler.paste(request("C", third.processId, loan)));
  EXPECT_EQ(runTask(executor, last.join()), PasteOutcome::pasted);
  EXPECT_EQ(runTask(executor, first.join()), PasteOutcome::pasted);
  EXPECT_EQ(runTask(executor, second.join()), PasteOutcome::pasted);
  EXPECT_EQ(pasted, (QStringList{"100A", "200B", "300C"}));
  EXPECT_EQ(workspace.frontmost, third);
  executor.advance(11s);
  EXPECT_TRUE(isOriginalBack());
}

TEST_F(AutoPasteHandlerTest, TheFocusIsLeftWhereTheUserPutItMeanwhile) {
  workspace.setFrontmost(application(300, "org.example.third"));
  keys.onStroke = [&](const QString&) { workspace.setFrontmost(workspace.running(otherPID)); };
  EXPECT_EQ(paste("words"), PasteOutcome::pasted);
  EXPECT_EQ(workspace.frontmost->processId, otherPID);
}

TEST_F(AutoPasteHandlerTest, ACancelEndsOnlyItsOwnPaste) {
  settings.setClipboardRestoreDelaySeconds(2);
  // At once; while the target comes up; while the fetch is waited for.
  for (const auto moment : {0ms, 50ms, 130ms}) {
    pasteboard.copyElsewhere(original);
    workspace.setFrontmost(workspace.running(otherPID));
    keys.strokes.clear();
    TaskScope scope(executor);
    auto first = scope.spawn(handler.paste(request("first")));
    auto second = scope.spawn(handler.paste(request("second", otherPID)));
    auto third = scope.spawn(handler.paste(request("third")));
    executor.advance(moment);
    first.cancel();
    second.cancel();
    executor.runReady();
    EXPECT_EQ(clipboardText(), "first") << moment.count();
    executor.advance(1s);
    EXPECT_TRUE(first.isDone() && second.isDone());
    EXPECT_EQ(runTask(executor, third.join()), PasteOutcome::pasted) << moment.count();
    EXPECT_EQ(keys.strokes.size(), moment < 130ms ? 1 : 2) << moment.count();
    EXPECT_EQ(workspace.frontmost->processId, otherPID) << moment.count();
    executor.advance(5s);
    EXPECT_TRUE(isOriginalBack()) << moment.count();
    EXPECT_EQ(suspensions.back(), false);
  }
}

TEST_F(AutoPasteHandlerTest, TheEndOfTheCallerGivesTheClipboardBack) {
  pasteboard.isFetchedWhenExpected = false;
  {
    TaskScope scope(executor);
    auto pasting = scope.spawn(handler.paste(request("words")));
    executor.advance(200ms);
    EXPECT_EQ(clipboardText(), "words");
  }
  executor.advance(1s);
  EXPECT_EQ(suspensions.back(), false);
  pasteboard.fetch();
  executor.advance(30s);
  EXPECT_TRUE(isOriginalBack());
}

TEST_F(AutoPasteHandlerTest, ThePermissionIsPolledUntilItIsThere) {
  accessibility.trusted = false;
  int granted = 0;
  const auto watching = permission.isGranted().observe([&](bool is) { granted += is; });
  permission.startPolling();
  permission.startPolling();
  executor.advance(10s);
  EXPECT_EQ(granted, 0);
  EXPECT_EQ(executor.timerCount(), 1u);
  accessibility.trusted = true;
  executor.advance(300ms);
  EXPECT_EQ(granted, 1);
  EXPECT_EQ(executor.timerCount(), 0u);
}

class TextInputServiceTest : public DeliveryFixture {
 protected:
  bool type(const QString& text) { return runTask(executor, service.pasteText(text)); }
  TextInputService service{pasteboard, keys, workspace, accessibility, logging};
};

TEST_F(TextInputServiceTest, APieceIsPastedAndThePlainTextIsBackAtOnce) {
  pasteboard.copyElsewhere("mine");
  EXPECT_TRUE(type("né👍🏽"));
  EXPECT_EQ(keys.strokes, QStringList{"control+55"});
  EXPECT_EQ(clipboardText(), "mine");
  EXPECT_TRUE(pasteboard.writes.front().isConcealed);
  EXPECT_TRUE(lines->contains("✅ Pasted 3 characters via clipboard"));
}

TEST_F(TextInputServiceTest, WhatCannotBePastedIsNotPastedAndTheClipboardIsBack) {
  const struct {
    const char* name;
    std::function<void()> arrange;
    int strokes;
  } cases[] = {
      {"no permission", [&] { accessibility.trusted = false; }, 0},
      {"secure", [&] { accessibility.focus(passwordField()); }, 0},
      {"no keys", [&] { keys.available = false; }, 0},
      {"key fails",
       [&] {
         keys.failure = PlatformError{"x11", 0, "no"};
       },
       0},
      {"not fetched", [&] { pasteboard.isFetchedWhenExpected = false; }, 1},
  };
  for (const auto& one : cases) {
    accessibility.focus(node("AXTextField"));
    accessibility.trusted = keys.available = pasteboard.isFetchedWhenExpected = true;
    keys.failure.reset();
    keys.strokes.clear();
    pasteboard.copyElsewhere("mine");
    one.arrange();
    EXPECT_FALSE(type("piece")) << one.name;
    EXPECT_EQ(keys.strokes.size(), one.strokes) << one.name;
    EXPECT_EQ(clipboardText(), "mine") << one.name;
  }
}

TEST_F(TextInputServiceTest, ACancelGivesTheClipboardBackAndNewerContentsStay) {
  pasteboard.isFetchedWhenExpected = false;
  for (const bool isCopied : {false, true}) {
    pasteboard.copyElsewhere("mine");
    TaskScope scope(executor);
    auto typing = scope.spawn(service.pasteText("piece"));
    executor.advance(100ms);
    EXPECT_EQ(clipboardText(), "piece");
    if (isCopied) pasteboard.copyElsewhere("newer");
    typing.cancel();
    executor.advance(2s);
    EXPECT_EQ(clipboardText(), isCopied ? "newer" : "mine");
  }
}

}  // namespace
}  // namespace quillmere
