#include "DeliveryFixture.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Kind = PasteOutcome;
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
      {"text field", "org.example.editor", node("AXTextField"), true, Kind::pasted, {"control+55"}},
      {"no v on any layout", "org.example.editor", node("AXTextField"), false, Kind::pasted, {"shift+insert"}},
      {"button", "org.example.editor", button, true, Kind::noTarget, {}},
      {"browser without focus", "org.mozilla.firefox", nullptr, true, Kind::pasted, {"control+55"}},
      {"password field of a browser", "org.mozilla.firefox", passwordField(), true, Kind::secureField, {}},
      {"password field of a listed editor", "com.microsoft.VSCode", passwordField(), true, Kind::secureField, {}},
      {"password field", "org.example.editor", passwordField(), true, Kind::secureField, {}},
      {"blind paste", "com.tinyspeck.slackmacgap", button, true, Kind::pasted, {"control+55"}},
      {"kitty", "net.kovidgoyal.kitty", nullptr, true, Kind::pasted, {"shift+insert"}},
      {"xterm", "xterm", nullptr, true, Kind::pasted, {"shift+insert"}},
  };
  for (const auto& one : cases) {
    keys.strokes.clear();
    keys.keyCodes.clear();
    if (one.hasV) keys.keyCodes.insert(QLatin1Char('v'), 55);
    putInFront(one.bundleId);
    accessibility.focus(one.focused);
    pasteboard.copyElsewhere(original);
    EXPECT_EQ(paste(text), one.kind) << one.name;
    EXPECT_EQ(keys.strokes, one.strokes) << one.name;
    EXPECT_EQ(clipboardText(), text) << one.name;
    EXPECT_TRUE(pasteboard.writes.back().isConcealed || pasteboard.writes.back().isSelection) << one.name;
    if (one.kind == Kind::noTarget) pasteboard.fetch();  // the user pressed Ctrl+V
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
    EXPECT_EQ(paste(text), Kind::pasted);
    EXPECT_EQ(pressed.value() - start, Duration(one.wait)) << one.bundleId;
    EXPECT_EQ(workspace.activations, (std::vector<qint64>{targetPID, otherPID})) << "and back";
    workspace.activations.clear();
  }
}

TEST_F(SmartPasteTest, OurOwnWindowsStepAside) {
  workspace.setFrontmost(RunningApplication{1, "com.quillmere.app", "Quillmere", "", true});
  EXPECT_EQ(paste(request(text, std::nullopt)), Kind::pasted);
  EXPECT_EQ(workspace.hides, 1);
  EXPECT_EQ(workspace.activations.size(), 0u);
}

TEST_F(SmartPasteTest, AnotherWindowInFrontIsWaitedForAndGetsNothing) {
  workspace.setFrontmost(workspace.runningApplication(otherPID));
  workspace.becomesFrontmostWhenActivated = false;
  EXPECT_EQ(paste(text), Kind::noTarget);
  EXPECT_EQ(clipboardText(), text);
  TaskScope scope(executor);
  auto pasting = scope.spawn(handler.paste(request(text)));
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
    auto pasting = scope.spawn(handler.paste(request(text)));
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
  accessibility.hangs = true;
  EXPECT_EQ(paste(text), Kind::noTarget);
  for (const Duration limit : accessibility.limits) EXPECT_LE(limit, Duration(250ms));
  // The visit that comes back late finds nothing of ours in its way.
  for (const auto& work : accessibility.late) work(accessibility.tree);
  EXPECT_THAT(keys.strokes, IsEmpty());
}

TEST_F(SmartPasteTest, APasswordFieldThatTakesTheFocusAtTheLastMomentGetsNothing) {
  accessibility.onVisit = [&] {
    if (accessibility.limits.size() == 2) accessibility.focus(passwordField());
  };
  EXPECT_EQ(paste(text), Kind::secureField);
  EXPECT_EQ(accessibility.limits.size(), 2u);
  EXPECT_THAT(keys.strokes, IsEmpty());
}

TEST_F(SmartPasteTest, AFailedChordFallsBackAndAFailedFallbackFails) {
  keys.failure = PlatformError{"x11", 0, "no"};
  EXPECT_EQ(paste(text), Kind::failed);
  EXPECT_TRUE(lines->contains("❌ Failed to create CGEvents"));
  EXPECT_TRUE(lines->contains("❌ AppleScript paste error: no"));
  EXPECT_EQ(clipboardText(), text);

  pasteboard.canWrite = false;
  keys.failure.reset();
  EXPECT_EQ(paste(text), Kind::failed);
  EXPECT_THAT(keys.strokes, IsEmpty());
}

TEST_F(SmartPasteTest, WhatIsBlankIsNotPasted) {
  for (const char* blank : {"", " \n"}) EXPECT_EQ(paste(blank), Kind::none);
  EXPECT_THAT(keys.strokes, IsEmpty());
  EXPECT_TRUE(isOriginalBack());
}

}  // namespace
}  // namespace quillmere
