#include "platform/x11/X11GlobalShortcuts.h"

#include "base/async/Async.h"
#include "platform/qt/QtExecutor.h"
#include "platform/x11/X11Desk.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

const QString toggle = "toggle";
constexpr uint16_t controlAlt = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1;

KeyCombination combination(const char* text) {
  return *KeyCombination::parse(QString::fromLatin1(text));
}

class X11GlobalShortcutsTest : public X11DeskTest {
 protected:
  X11GlobalShortcutsTest() {
    other.showFocusedWindow();
    shortcuts.setHandlers(toggle, handlers);
  }
  bool waitForTrace(const char* expected) {
    return waitUntil([&] { return trace.size() >= qsizetype(qstrlen(expected)); }) && trace == QLatin1String(expected);
  }
  void tapWith(std::initializer_list<uint32_t> modifiers, uint8_t code) {
    for (const uint32_t modifier : modifiers) keys.press(modifier);
    keys.pressCode(code);
    keys.releaseCode(code);
    for (const uint32_t modifier : modifiers) keys.release(modifier);
  }
  // The recording holds the keyboard.
  bool isRecording() {
    return waitUntil([&] { return !other.isKeyboardFree(); });
  }
  TaskHandle<> record() {
    const auto note = [](X11GlobalShortcutsTest& test) -> Task<> {
      const auto outcome = co_await test.shortcuts.recordCombination(GlobalShortcuts::EscapeKey::endsRecording);
      test.recorded << (outcome ? outcome->text() : QStringLiteral("none"));
    };
    return scope.spawn(note(*this));
  }

  TestTexts texts;
  QtExecutor executor;
  X11GlobalShortcuts shortcuts{Logging(), server.displayName()};
  QString trace;
  const GlobalShortcuts::Handlers handlers{[this] { trace += u't'; }, [this] { trace += u'T'; }};
  QStringList recorded;
  TaskScope scope{executor};
};

TEST_F(X11GlobalShortcutsTest, ReactWhateverLocksAreOn) {
  ASSERT_TRUE(shortcuts.setShortcut(toggle, combination("Ctrl+Alt+D")));
  QString expected;
  for (const uint32_t lock : {XKB_KEY_VoidSymbol, XKB_KEY_Num_Lock, XKB_KEY_Caps_Lock, XKB_KEY_Num_Lock}) {
    if (lock != XKB_KEY_VoidSymbol) keys.tap({lock});
    other.takeKeys();
    keys.tap({XKB_KEY_Control_L, XKB_KEY_Alt_L, XKB_KEY_d});
    expected += "tT";
    EXPECT_TRUE(waitForTrace(expected.toLatin1())) << qPrintable(trace);
    const std::vector<int> seen = other.takeKeys();
    EXPECT_EQ(std::count(seen.begin(), seen.end(), keys.codeOf(XKB_KEY_d)), 0);
  }
}

TEST_F(X11GlobalShortcutsTest, AHeldKeyIsPressedOnceAndItsReleaseComesAlsoWhenTheModifierGoesFirst) {
  ASSERT_TRUE(shortcuts.setShortcut(toggle, combination("Super+F9")));
  keys.press(XKB_KEY_Super_L);
  keys.press(XKB_KEY_F9);
  keys.release(XKB_KEY_Super_L);
  pause(1200ms);  // longer than the keyboard waits before it repeats
  EXPECT_EQ(trace, "t");
  keys.release(XKB_KEY_F9);
  EXPECT_TRUE(waitForTrace("tT"));
}

TEST_F(X11GlobalShortcutsTest, AKeyThatCannotBeHadIsRefusedAndTheFormerOneStays) {
  ASSERT_TRUE(shortcuts.setShortcut(toggle, combination("Ctrl+Alt+D")));
  EXPECT_FALSE(shortcuts.setShortcut(toggle, KeyCombination{.key = "NoSuchKeyAnywhere"}));
  // One of the lock variants is enough.
  ASSERT_TRUE(other.grabKey(controlAlt | XCB_MOD_MASK_2, keys.codeOf(XKB_KEY_e)));
  const auto refused = shortcuts.setShortcut(toggle, combination("Ctrl+Alt+E"));
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error().description, "Another program already uses Ctrl+Alt+E.");
  EXPECT_EQ(shortcuts.shortcut(toggle), combination("Ctrl+Alt+D"));
  OtherProgram third(server.displayName());
  EXPECT_FALSE(third.isTaken(controlAlt, keys.codeOf(XKB_KEY_e)));
  other.ungrabKey(controlAlt | XCB_MOD_MASK_2, keys.codeOf(XKB_KEY_e));
  ASSERT_TRUE(shortcuts.setShortcut(toggle, combination("Ctrl+Alt+E")));
  EXPECT_FALSE(other.isTaken(controlAlt, keys.codeOf(XKB_KEY_d)));
  keys.tap({XKB_KEY_Control_L, XKB_KEY_Alt_L, XKB_KEY_e});
  EXPECT_TRUE(waitForTrace("tT"));
}

TEST_F(X11GlobalShortcutsTest, TakeAKeyOnlyWhileTheyCanReact) {
  const uint8_t pauseKey = keys.codeOf(XKB_KEY_Pause);
  shortcuts.setHandlers(toggle, {});
  ASSERT_TRUE(shortcuts.setShortcut(toggle, combination("Pause")));
  EXPECT_FALSE(other.isTaken(0, pauseKey));
  shortcuts.setHandlers(toggle, handlers);
  EXPECT_TRUE(other.isTaken(0, pauseKey));
  shortcuts.setEnabled(toggle, false);
  EXPECT_FALSE(other.isTaken(0, pauseKey));
}

TEST_F(X11GlobalShortcutsTest, StayWithTheirLetterThroughLayouts) {
  ASSERT_TRUE(shortcuts.setShortcut(toggle, combination("Ctrl+Alt+D")));
  const uint8_t d = keys.codeOf(XKB_KEY_d);
  const uint8_t h = keys.codeOf(XKB_KEY_h);  // gives "d" on the Dvorak layout
  const auto isOnlyOn = [&](uint8_t code) {
    return waitUntil([&] { return other.isTaken(controlAlt, code) && !other.isTaken(controlAlt, code == d ? h : d); });
  };
  ASSERT_TRUE(isOnlyOn(d));
  ASSERT_TRUE(setLayout({"us", "-variant", "dvorak"}));
  EXPECT_TRUE(isOnlyOn(h));
  tapWith({XKB_KEY_Control_L, XKB_KEY_Alt_L}, h);
  EXPECT_TRUE(waitForTrace("tT"));
  // No Latin letters at all.
  ASSERT_TRUE(setLayout({"ru", "-variant", QString()}));
  EXPECT_TRUE(isOnlyOn(d));
  // Latin letters on the first layout only, then on none but the second.
  ASSERT_TRUE(setLayout({"us,ru", "-variant", "dvorak,"}));
  EXPECT_TRUE(isOnlyOn(h));
  other.lockLayout(1);
  tapWith({XKB_KEY_Control_L, XKB_KEY_Alt_L}, h);
  EXPECT_TRUE(waitForTrace("tTtT"));
  ASSERT_TRUE(setLayout({"us,us", "-variant", "dvorak,"}));
  other.lockLayout(1);
  EXPECT_TRUE(isOnlyOn(d));
  other.lockLayout(0);
  EXPECT_TRUE(isOnlyOn(h));
}

TEST_F(X11GlobalShortcutsTest, RecordTheNextKey) {
  ASSERT_TRUE(shortcuts.setShortcut(toggle, combination("Ctrl+Alt+D")));
  struct Case {
    std::initializer_list<uint32_t> keys;
    const char* text;
  };
  for (const auto& [pressed, text] :
       {Case{{XKB_KEY_Control_L, XKB_KEY_Shift_L, XKB_KEY_F9}, "Ctrl+Shift+F9"},
        Case{{XKB_KEY_Super_L, XKB_KEY_k}, "Super+K"}, Case{{XKB_KEY_Shift_L, XKB_KEY_period}, "Shift+period"},
        Case{{XKB_KEY_Control_L, XKB_KEY_Escape}, "Ctrl+Escape"},
        Case{{XKB_KEY_Control_L, XKB_KEY_Alt_L, XKB_KEY_d}, "Ctrl+Alt+D"}}) {
    record();
    ASSERT_TRUE(isRecording());
    keys.tap({XKB_KEY_Control_L});
    for (const uint32_t key : pressed) keys.press(key);
    pause(20ms);
    EXPECT_TRUE(recorded.isEmpty() && !other.isKeyboardFree()) << "the key is still down";
    for (const uint32_t key : pressed) keys.release(key);
    ASSERT_TRUE(waitUntil([&] { return !recorded.isEmpty(); })) << text;
    EXPECT_EQ(std::exchange(recorded, {}), QStringList{QString::fromLatin1(text)});
    EXPECT_TRUE(other.isKeyboardFree());
    EXPECT_TRUE(other.takeKeys().empty());
  }
  EXPECT_TRUE(trace.isEmpty());
}

TEST_F(X11GlobalShortcutsTest, RecordLatinLettersOnALayoutWithoutThemWhenAMenuHasGivenTheKeyboardBack) {
  const uint8_t d = keys.codeOf(XKB_KEY_d);
  ASSERT_TRUE(setLayout({"ru"}));
  ASSERT_TRUE(other.grabKeyboard());
  record();
  pause(50ms);
  other.ungrabKeyboard();
  ASSERT_TRUE(isRecording());
  tapWith({XKB_KEY_Control_L}, d);
  EXPECT_TRUE(waitUntil([&] { return recorded == QStringList{"Ctrl+D"}; })) << qPrintable(recorded.join(u' '));
}

TEST_F(X11GlobalShortcutsTest, TheEndOfTheServerEndsTheReactionsOnly) {
  ASSERT_TRUE(shortcuts.setShortcut(toggle, combination("Pause")));
  record();
  ASSERT_TRUE(isRecording());
  server.kill();
  EXPECT_TRUE(waitUntil([&] { return recorded == QStringList{"none"}; }));
  EXPECT_FALSE(shortcuts.isAvailable());
  EXPECT_EQ(shortcuts.shortcut(toggle), combination("Pause"));
  EXPECT_FALSE(shortcuts.setShortcut(toggle, combination("F9")));
  shortcuts.setEnabled(toggle, false);
  EXPECT_TRUE(shortcuts.setShortcut(toggle, std::nullopt));
  X11GlobalShortcuts none(Logging(), ":64999");
  EXPECT_FALSE(none.isAvailable());
  const auto refused = none.setShortcut(toggle, combination("Pause"));
  ASSERT_FALSE(refused);
  EXPECT_TRUE(refused.error().description.contains(":64999"));
}

}  // namespace
}  // namespace quillmere
