#include "delivery/AutoPasteHandler.h"

#include "DeliveryFixture.h"
#include "delivery/TextInputService.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

class AutoPasteHandlerTest : public DeliveryFixture {
 protected:
  AutoPasteHandlerHooks handlerHooks() {
    AutoPasteHandlerHooks all;
    all.suspendKeyMonitor = [this](bool isSuspended) { suspensions.push_back(isSuspended); };
    all.showAlert = [this](const AccessibilityAlert& alert) { alerts.push_back(alert); };
    return all;
  }
  bool pasteNow(const QString& text) { return runTask(executor, handler.paste(text, {})); }

  std::vector<bool> suspensions;
  std::vector<AccessibilityAlert> alerts;
  AutoPasteHandler handler{helper, executor, handlerHooks(), logging};
};

TEST_F(AutoPasteHandlerTest, EveryEndHasItsOutcomeAndResumesTheMonitor) {
  const struct {
    const char* name;
    std::function<void()> arrange;
    bool isPasted;
    PasteOutcome outcome;
    const char* line;
  } cases[] = {
      {"pasted", [] {}, true, PasteOutcome::pasted, "✅ Auto-paste successful"},
      {"secure", [&] { accessibility.focus(passwordField()); }, false, PasteOutcome::secureField,
       "ℹ️ No valid paste target. Text on clipboard."},
      {"no target", [&] { accessibility.focus(node("AXButton")); }, false, PasteOutcome::noTarget,
       "ℹ️ No valid paste target. Text on clipboard."},
      {"not fetched", [&] { pasteboard.isFetchedWhenExpected = false; }, false, PasteOutcome::notFetched,
       "Text on clipboard."},
      {"no permission", [&] { accessibility.trusted = false; }, false, PasteOutcome::noPermission,
       "📋 Copying to clipboard as fallback (no accessibility permission)"},
      {"no keys", [&] { keys.available = false; }, false, PasteOutcome::failed, "❌ Failed to create CGEventSource"},
  };
  for (const auto& one : cases) {
    accessibility.focus(node("AXTextField"));
    accessibility.trusted = pasteboard.isFetchedWhenExpected = keys.available = true;
    suspensions.clear();
    lines->clear();
    keys.onStroke = [&](const QString&) { EXPECT_EQ(suspensions, std::vector{true}) << one.name; };
    one.arrange();
    EXPECT_EQ(pasteNow("words"), one.isPasted) << one.name;
    EXPECT_EQ(handler.lastOutcome().get(), one.outcome) << one.name;
    EXPECT_EQ(suspensions, (std::vector{true, false})) << one.name;
    EXPECT_TRUE(lines->contains(one.line)) << one.name << "\n" << lines->lines().join('\n').toStdString();
    EXPECT_EQ(clipboardText(), "words") << one.name;
    for (const QString& line : lines->publicLines()) EXPECT_FALSE(line.contains("words")) << line.toStdString();
  }
  ASSERT_EQ(alerts.size(), 1u);
  alerts.front().open();
  EXPECT_EQ(openedUrls, QStringList{"x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility"});
}

TEST_F(AutoPasteHandlerTest, ThePreviousApplicationIsTheTarget) {
  handler.setPreviousFrontmostPID(otherPID);
  EXPECT_TRUE(pasteNow("words"));
  EXPECT_EQ(workspace.activations, std::vector<qint64>{otherPID});
}

TEST_F(AutoPasteHandlerTest, ANewPasteCancelsTheOneUnderWay) {
  begin();
  handler.setPreviousFrontmostPID(targetPID);
  TaskScope scope(executor);
  auto first = scope.spawn(handler.paste("first", {}));
  executor.advance(50ms);
  auto second = scope.spawn(handler.paste("second", {}));
  executor.advance(5s);
  EXPECT_FALSE(runTask(executor, first.join()));
  EXPECT_TRUE(runTask(executor, second.join()));
  EXPECT_EQ(keys.strokes.size(), 1);
  EXPECT_EQ(clipboardText(), "second");
  EXPECT_EQ(suspensions, (std::vector{true, false})) << "not resumed between the two";
  EXPECT_TRUE(lines->contains("ℹ️ Paste operation was cancelled"));
  executor.advance(11s);
  EXPECT_TRUE(isOriginalBack());
}

TEST_F(AutoPasteHandlerTest, ACancelledPasteThatHadWrittenDoesNotDisturbTheNextOne) {
  settings.setClipboardRestoreDelaySeconds(0);
  pasteboard.isFetchedWhenExpected = false;
  begin();
  TaskScope scope(executor);
  auto first = scope.spawn(handler.paste("first", {}));
  executor.advance(200ms);  // waits for the fetch
  auto second = scope.spawn(handler.paste("second", {}));
  executor.advance(200ms);
  EXPECT_EQ(clipboardText(), "second");
  EXPECT_FALSE(isOriginalBack());
}

TEST_F(AutoPasteHandlerTest, TheMonitorResumesWhenTheCallerGoesAway) {
  {
    TaskScope scope(executor);
    auto pasting = scope.spawn(handler.paste("words", {}));
    executor.advance(20ms);
  }
  helper.cancelPaste();
  executor.advance(1s);
  EXPECT_EQ(suspensions.back(), false);
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
