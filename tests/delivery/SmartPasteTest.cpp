#include "DeliveryFixture.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Kind = SmartPasteResult::Kind;
using testing::ElementsAre;
using testing::IsEmpty;

const QString text = "Grüße 👋";

using SmartPasteTest = DeliveryFixture;

TEST_F(SmartPasteTest, EveryKindOfTargetGetsTheKeystrokeThatFitsOrNone) {
  const auto button = node("AXButton");
  const struct {
    const char* name;
    const char* bundleId;
    FakeAccessibilityNode::Ptr focused;
    bool hasV;
    Kind kind;
    QStringList strokes;
  } cases[] = {
      {"text field", "org.example.editor", node("AXTextField"), true, Kind::success, {"control+55"}},
      {"no v on any layout", "org.example.editor", node("AXTextField"), false, Kind::success, {"shift+insert"}},
      {"button", "org.example.editor", button, true, Kind::noFocusedField, {}},
      {"browser without focus", "org.mozilla.firefox", nullptr, true, Kind::success, {"control+55"}},
      {"password field of a browser", "org.mozilla.firefox", passwordField(), true, Kind::secureField, {}},
      {"password field of a listed editor", "com.microsoft.VSCode", passwordField(), true, Kind::secureField, {}},
      {"password field", "org.example.editor", passwordField(), true, Kind::secureField, {}},
      {"blind paste", "com.tinyspeck.slackmacgap", button, true, Kind::success, {"control+55"}},
      {"kitty", "net.kovidgoyal.kitty", nullptr, true, Kind::success, {"shift+insert"}},
      {"xterm", "xterm", nullptr, true, Kind::success, {"shift+insert"}},
  };
  for (const auto& one : cases) {
    keys.strokes.clear();
    keys.keyCodes.clear();
    if (one.hasV) keys.keyCodes.insert(QLatin1Char('v'), 55);
    putInFront(one.bundleId);
    accessibility.focus(one.focused);
    pasteboard.copyElsewhere(original);
    begin();
    EXPECT_EQ(paste(text), one.kind) << one.name;
    EXPECT_EQ(keys.strokes, one.strokes) << one.name;
    EXPECT_EQ(clipboardText(), text) << one.name;
    EXPECT_TRUE(pasteboard.writes.back().isConcealed || pasteboard.writes.back().isSelection) << one.name;
    helper.endRecordingSession();
    if (one.kind == Kind::noFocusedField) pasteboard.fetch();  // the user pressed Ctrl+V
    executor.advance(21s);
    EXPECT_TRUE(isOriginalBack()) << one.name;
  }
}

TEST_F(SmartPasteTest, TheWaitAfterReactivationFitsTheTarget) {
  const struct {
    const char* bundleId;
    std::chrono::milliseconds wait;
  } cases[] = {{"org.mozilla.firefox", 250ms},
               {"com.microsoft.VSCode", 180ms},
               {"com.tinyspeck.slackmacgap", 180ms},
               {"org.example.editor", 100ms}};
  for (const auto& one : cases) {
    putInFront(one.bundleId);
    workspace.setFrontmost(workspace.runningApplication(otherPID));
    std::optional<TimePoint> pressed;
    keys.onStroke = [&](const QString&) { pressed = executor.now(); };
    const TimePoint start = executor.now();
    EXPECT_EQ(paste(text), Kind::success);
    EXPECT_EQ(pressed.value() - start, Duration(one.wait)) << one.bundleId;
    EXPECT_EQ(workspace.activations.back(), targetPID);
  }
}

TEST_F(SmartPasteTest, OurOwnWindowsStepAside) {
  workspace.setFrontmost(RunningApplication{1, "com.quillmere.app", "Quillmere", "", true});
  EXPECT_EQ(paste(text, {}, std::nullopt), Kind::success);
  EXPECT_EQ(workspace.hides, 1);
  EXPECT_EQ(paste(text, {}, 4711), Kind::success) << "a target that is gone";
  EXPECT_EQ(workspace.activations.size(), 0u);
}

TEST_F(SmartPasteTest, AnotherWindowInFrontIsWaitedForAndGetsNothing) {
  begin();
  workspace.setFrontmost(workspace.runningApplication(otherPID));
  workspace.becomesFrontmostWhenActivated = false;
  EXPECT_EQ(paste(text), Kind::noFocusedField);
  EXPECT_EQ(clipboardText(), text);
  TaskScope scope(executor);
  auto pasting = scope.spawn(helper.smartPaste(text, {}, targetPID));
  executor.advance(300ms);
  EXPECT_THAT(keys.strokes, IsEmpty());
  workspace.setFrontmost(workspace.runningApplication(targetPID));
  executor.advance(200ms);
  EXPECT_THAT(keys.strokes, ElementsAre("control+55"));
}

TEST_F(SmartPasteTest, AFocusThatComesLateIsSeenAtTheSecondLook) {
  for (const bool isThereInTheEnd : {true, false}) {
    putInFront("com.tinyspeck.slackmacgap");
    accessibility.focus(nullptr);
    keys.strokes.clear();
    lines->clear();
    TaskScope scope(executor);
    auto pasting = scope.spawn(helper.smartPaste(text, {}, targetPID));
    executor.advance(290ms);
    EXPECT_THAT(keys.strokes, IsEmpty());
    if (isThereInTheEnd) accessibility.focus(node("AXTextArea"));
    executor.advance(10ms);
    EXPECT_THAT(keys.strokes, ElementsAre("control+55")) << "180 ms and the retry of 120 ms";
    EXPECT_TRUE(lines->contains("✅ Focus became ready after short retry"));
    EXPECT_EQ(lines->count("⚠️ Falling back to blind paste whitelist for com.tinyspeck.slackmacgap"),
              isThereInTheEnd ? 1 : 3);
  }
}

TEST_F(SmartPasteTest, ATargetThatHangsIsNoTarget) {
  begin();
  accessibility.hangs = true;
  EXPECT_EQ(paste(text), Kind::noFocusedField);
  for (const Duration limit : accessibility.limits) EXPECT_LE(limit, Duration(250ms));
  // The visit that comes back late finds nothing of ours in its way.
  for (const auto& work : accessibility.late) work(accessibility.tree);
  EXPECT_THAT(keys.strokes, IsEmpty());
}

TEST_F(SmartPasteTest, APasswordFieldThatTakesTheFocusAtTheLastMomentGetsNothing) {
  begin();
  accessibility.onVisit = [&] {
    if (accessibility.limits.size() == 2) accessibility.focus(passwordField());
  };
  EXPECT_EQ(paste(text), Kind::secureField);
  EXPECT_EQ(accessibility.limits.size(), 2u);
  EXPECT_THAT(keys.strokes, IsEmpty());
}

TEST_F(SmartPasteTest, WithoutPermissionNothingHappensAndTheGuidanceIsLoggedOnce) {
  accessibility.trusted = false;
  EXPECT_EQ(paste(text), Kind::noPermission);
  EXPECT_EQ(paste(text), Kind::noPermission);
  EXPECT_EQ(lines->count("⚠️ Look for entries matching:"), 1);
  EXPECT_TRUE(isOriginalBack());
  EXPECT_THAT(workspace.activations, IsEmpty());
}

TEST_F(SmartPasteTest, AFailedChordFallsBackAndAFailedFallbackFails) {
  begin();
  keys.failure = PlatformError{"x11", 0, "no"};
  const auto result = runTask(executor, helper.smartPaste(text, {}, targetPID));
  EXPECT_EQ(result.kind, Kind::failed);
  EXPECT_EQ(std::get<PlatformError>(*result.error).domain, "AccessibilityHelper");
  EXPECT_TRUE(lines->contains("❌ Failed to create CGEvents"));
  EXPECT_TRUE(lines->contains("❌ AppleScript paste error: no"));
  EXPECT_EQ(clipboardText(), text);

  pasteboard.canWrite = false;
  keys.failure.reset();
  EXPECT_EQ(paste(text), Kind::failed);
  EXPECT_THAT(keys.strokes, IsEmpty());
}

// --- the clipboard

TEST_F(SmartPasteTest, ATextThatNobodyFetchedStaysUntilSomebodyDoes) {
  pasteboard.isFetchedWhenExpected = false;
  EXPECT_EQ(dictate(text), Kind::notFetched);
  executor.advance(3600s);
  EXPECT_EQ(clipboardText(), text);
  pasteboard.fetch();
  executor.advance(9s);
  EXPECT_EQ(clipboardText(), text) << "he may paste it once more";
  executor.advance(2s);
  EXPECT_TRUE(isOriginalBack());
}

TEST_F(SmartPasteTest, WhatTheUserCopiedMeanwhileIsNotTouched) {
  for (const bool isFetched : {true, false}) {
    pasteboard.copyElsewhere(original);
    pasteboard.isFetchedWhenExpected = isFetched;
    dictate(text);
    executor.advance(5s);
    pasteboard.copyElsewhere("newer");
    executor.advance(60s);
    EXPECT_EQ(clipboardText(), "newer");
    EXPECT_TRUE(lines->contains("📋 Another program has taken the clipboard - nothing to restore"));
    lines->clear();
  }
}

TEST_F(SmartPasteTest, ASecondDictationWithinTheDelayStillGivesBackTheUsersOwn) {
  dictate("one");
  executor.advance(4s);
  begin();
  EXPECT_TRUE(lines->contains("❌ Cancelled pending clipboard restoration"));
  executor.advance(20s);
  EXPECT_EQ(clipboardText(), "one") << "the first restore must not land in the second recording";
  helper.endRecordingSession();
  paste("two");
  executor.advance(9s);
  EXPECT_EQ(clipboardText(), "two");
  executor.advance(2s);
  EXPECT_TRUE(isOriginalBack());
}

TEST_F(SmartPasteTest, ADictationThatPastesNothingLeavesTheRestoreOfTheOneBefore) {
  const struct {
    const char* name;
    std::function<void()> dictation;
  } cases[] = {
      {"discarded", [&] { begin(), helper.endRecordingSession(); }},
      {"cancelled on the way to the target",
       [&] {
         TaskScope scope(executor);
         auto pasting = scope.spawn(helper.smartPaste("two", {}, targetPID));
         executor.advance(50ms);
         pasting.cancel();
         executor.runReady();
       }},
      {"copied by hand", [&] { begin(), runTask(executor, helper.copyTextManually("two")), pasteboard.fetch(); }},
      {"under way when the program ends", [&] { begin(), helper.restoreNow(); }},
  };
  for (const auto& one : cases) {
    pasteboard.copyElsewhere(original);
    begin();
    paste("one");
    executor.advance(4s);
    one.dictation();
    executor.advance(25s);
    EXPECT_TRUE(isOriginalBack()) << one.name;
  }
}

TEST_F(SmartPasteTest, WhatWasCopiedBetweenTwoDictationsIsWhatComesBack) {
  dictate("one");
  executor.advance(4s);
  pasteboard.copyElsewhere("between");
  dictate("two");
  executor.advance(11s);
  EXPECT_EQ(clipboardText(), "between");
}

TEST_F(SmartPasteTest, NothingIsRestoredWhereNothingWasSavedOrNobodyWantsIt) {
  pasteboard.copyElsewhere(ClipboardItems{});
  begin();
  EXPECT_TRUE(lines->contains("📋 Clipboard is empty, nothing to save"));
  paste(text);
  executor.advance(60s);
  EXPECT_EQ(clipboardText(), text);

  pasteboard.copyElsewhere(original);  // no plain text there
  runTask(executor, helper.copyTextManually(text));
  executor.advance(60s);
  EXPECT_EQ(clipboardText(), text);

  settings.setRestoreClipboardAfterPaste(false);
  for (const bool isByHand : {false, true}) {
    pasteboard.copyElsewhere(original);
    begin();
    isByHand ? runTask(executor, helper.copyTextManually(text)) : void(paste(text));
    executor.advance(60s);
    EXPECT_EQ(clipboardText(), text);
  }
}

TEST_F(SmartPasteTest, TypesWithoutDataAreNotSaved) {
  ClipboardItemData hollow;
  hollow.types = {"image/png"};
  ClipboardItemData half;
  half.types = {"text/plain", "text/html"};
  half.data.insert("text/html", "<b>x</b>");
  pasteboard.copyElsewhere(ClipboardItems{hollow, half});
  begin();
  paste(text);
  executor.advance(11s);
  ASSERT_EQ(pasteboard.contents.size(), 1u);
  EXPECT_EQ(pasteboard.contents.front().types, QStringList{"text/html"});
}

TEST_F(SmartPasteTest, TheSelectionThatATerminalPastedFromComesBack) {
  for (const bool hasSelection : {true, false}) {
    putInFront("xterm");
    pasteboard.copyElsewhere(original);
    if (hasSelection) pasteboard.selectElsewhere("marked");
    EXPECT_EQ(dictate(text), Kind::success);
    EXPECT_EQ(pasteboard.selection, text);
    if (!hasSelection) pasteboard.selectElsewhere("marked later");
    executor.advance(11s);
    EXPECT_TRUE(isOriginalBack());
    EXPECT_EQ(pasteboard.selection, hasSelection ? "marked" : "marked later");
    pasteboard.selection.reset();
  }
}

TEST_F(SmartPasteTest, ACancelAtAnyMomentGivesTheClipboardBack) {
  settings.setClipboardRestoreDelaySeconds(2);
  putInFront("com.microsoft.VSCode");
  accessibility.focus(nullptr);
  pasteboard.isFetchedWhenExpected = true;
  // Waits: 180 ms after activation, 120 ms of the retry, 60 ms of the fetch.
  for (const auto moment : {0ms, 50ms, 180ms, 250ms, 320ms}) {
    pasteboard.copyElsewhere(original);
    begin();
    TaskScope scope(executor);
    auto pasting = scope.spawn(helper.smartPaste(text, {}, targetPID));
    executor.advance(moment);
    pasting.cancel();
    executor.advance(1s);
    EXPECT_TRUE(pasting.isDone());
    executor.advance(5s);
    EXPECT_TRUE(isOriginalBack()) << moment.count();
  }
}

TEST_F(SmartPasteTest, WaitingForTheRestoreEndsWhenItIsDoneOrWaitsForTheUser) {
  dictate(text);
  const TimePoint start = executor.now();
  runTask(executor, helper.waitForRestore());
  EXPECT_GE(executor.now() - start, Duration(9s));
  EXPECT_TRUE(isOriginalBack());

  pasteboard.isFetchedWhenExpected = false;
  EXPECT_EQ(dictate(text), Kind::notFetched);
  runTask(executor, helper.waitForRestore());
  EXPECT_EQ(clipboardText(), text);
}

// --- a paste by hand

TEST_F(SmartPasteTest, CopiesByHandAndDictationsGiveBackTheUsersOwnInTheEnd) {
  pasteboard.copyElsewhere("mine");
  runTask(executor, helper.copyTextManually("first"));
  executor.advance(1s);
  runTask(executor, helper.copyTextManually("second"));
  executor.advance(1s);
  EXPECT_EQ(dictate("third"), Kind::success);
  executor.advance(11s);
  EXPECT_EQ(clipboardText(), "mine");

  // Put back the way it was written: hidden from clipboard managers.
  runTask(executor, helper.copyTextManually(text));
  executor.advance(2s);
  pasteboard.fetch();
  executor.advance(19s);
  EXPECT_EQ(pasteboard.writes.back(), (FakePasteboard::Write{"mine", true, false}));

  // Not fetched, so the dialog offers to copy it again.
  pasteboard.copyElsewhere(original);
  pasteboard.isFetchedWhenExpected = false;
  EXPECT_EQ(dictate(text), Kind::notFetched);
  executor.advance(60s);
  runTask(executor, helper.copyTextManually(text));
  executor.advance(5s);
  pasteboard.fetch();
  executor.advance(11s);
  EXPECT_TRUE(isOriginalBack());
}

TEST_F(SmartPasteTest, ThePermissionIsPolledUntilItIsThere) {
  accessibility.trusted = false;
  int granted = 0;
  const auto watching = helper.accessibilityPermissionGranted().observe([&](bool is) { granted += is; });
  helper.startPermissionPolling();
  helper.startPermissionPolling();
  executor.advance(10s);
  EXPECT_EQ(granted, 0);
  EXPECT_EQ(executor.timerCount(), 1u);
  accessibility.trusted = true;
  executor.advance(300ms);
  EXPECT_EQ(granted, 1);
  EXPECT_EQ(executor.timerCount(), 0u);
  EXPECT_TRUE(lines->contains("✅ Accessibility permission GRANTED! Posting notification..."));
}

}  // namespace
}  // namespace quillmere
