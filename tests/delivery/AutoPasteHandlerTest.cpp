#include "delivery/AutoPasteHandler.h"

#include "DeliveryFixture.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

using AutoPasteHandlerTest = DeliveryFixture;

TEST_F(AutoPasteHandlerTest, EveryEndResumesTheMonitor) {
  const struct {
    const char* name;
    std::function<void()> arrange;
    PasteOutcome outcome;
  } cases[] = {
      {"pasted", [] {}, PasteOutcome::pasted},
      {"no keys", [&] { keys.available = false; }, PasteOutcome::failed},
      {"no target", [&] { accessibility.focus(node("AXButton")); }, PasteOutcome::noTarget},
      {"no bus", [&] { accessibility.trusted = pasteboard.isFetchedWhenExpected = false; }, PasteOutcome::noPermission},
  };
  keys.onStroke = [&](const QString&) { EXPECT_EQ(suspensions, std::vector{true}); };
  for (const auto& one : cases) {
    keys.available = true;
    suspensions.clear();
    one.arrange();
    EXPECT_EQ(paste("words"), one.outcome) << one.name;
    EXPECT_EQ(suspensions, (std::vector{true, false})) << one.name;
    EXPECT_EQ(clipboardText(), "words") << one.name;
  }
  for (const QString& line : lines->publicLines()) EXPECT_FALSE(line.contains("words")) << line.toStdString();
  EXPECT_EQ(alerts.size(), 1u);
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

}  // namespace
}  // namespace quillmere
