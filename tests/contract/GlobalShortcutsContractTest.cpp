#include "base/async/Async.h"
#include "contract/Sides.h"
#include "platform/x11/X11Desk.h"
#include "platform/x11/X11GlobalShortcuts.h"
#include "support/FakeGlobalShortcuts.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

struct FakeSide : InLoop {
  // The user presses the keys and lets them go.
  void tap(const KeyCombination& keys) {
    if (shortcuts.isRecordingCombination()) {
      const bool isEnd =
          keys == KeyCombination{.key = "Escape"} && shortcuts.escape == GlobalShortcuts::EscapeKey::endsRecording;
      return shortcuts.enterCombination(isEnd ? std::nullopt : std::optional(keys));
    }
    for (const char* name : {"first", "second"}) {
      if (shortcuts.shortcut(name) != keys) continue;
      shortcuts.press(name);
      shortcuts.release(name);
    }
  }
  bool isRecordingCombination() { return shortcuts.isRecordingCombination(); }
  FakeGlobalShortcuts shortcuts;
};

struct X11Side : InLoop, X11Desk {
  void tap(const KeyCombination& combination) {
    const uint32_t key = combination.key == "Escape" ? XKB_KEY_Escape
                         : combination.key == "F9"   ? XKB_KEY_F9
                                                     : combination.key[0].unicode();
    if (combination.control) keys.press(XKB_KEY_Control_L);
    if (combination.alt) keys.press(XKB_KEY_Alt_L);
    keys.tap({key});
    if (combination.alt) keys.release(XKB_KEY_Alt_L);
    if (combination.control) keys.release(XKB_KEY_Control_L);
  }
  bool isRecordingCombination() { return !other.isKeyboardFree(); }
  X11GlobalShortcuts shortcuts{Logging(), server.displayName()};
};

template <typename Side>
class GlobalShortcutsContract : public testing::Test, public Side {
 protected:
  void SetUp() override {
    this->shortcuts.setHandlers(first, noting(u'f'));
    this->shortcuts.setHandlers(second, noting(u's'));
    ASSERT_TRUE(set(second, "F9"));
  }
  static KeyCombination keys(const char* text) { return *KeyCombination::parse(QString::fromLatin1(text)); }
  Result<void, PlatformError> set(const QString& name, const char* text) {
    return this->shortcuts.setShortcut(name, keys(text));
  }
  // Key down writes the letter, key up the capital.
  GlobalShortcuts::Handlers noting(QChar letter) {
    return {[this, letter] { trace += letter; }, [this, letter] { trace += letter.toUpper(); }};
  }
  // Taps the second one's key, too, so that all that came before it is through.
  QString traceOf(const char* text) {
    trace.clear();
    this->tap(keys(text));
    this->tap(keys("F9"));
    waitUntil([&] { return trace.endsWith(u'S'); });
    return trace.chopped(2);
  }
  TaskHandle<> record(GlobalShortcuts::EscapeKey escape = GlobalShortcuts::EscapeKey::endsRecording) {
    const auto body = [](GlobalShortcutsContract& test, GlobalShortcuts::EscapeKey meaning) -> Task<> {
      const auto outcome = co_await test.shortcuts.recordCombination(meaning);
      test.recorded << (outcome ? outcome->text() : QStringLiteral("none"));
    };
    auto handle = scope.spawn(body(*this, escape));
    EXPECT_TRUE(waitUntil([&] { return this->isRecordingCombination(); }));
    return handle;
  }

  const QString first = "first";
  const QString second = "second";
  TestTexts texts;
  QString trace;
  QStringList recorded;
  TaskScope scope{this->executor};
};
using Sides = testing::Types<FakeSide, X11Side>;
TYPED_TEST_SUITE(GlobalShortcutsContract, Sides, SideNames);

TYPED_TEST(GlobalShortcutsContract, AShortcutReactsWhileItHasAKeyAndIsEnabled) {
  ASSERT_TRUE(this->shortcuts.isAvailable());
  EXPECT_EQ(this->traceOf("Ctrl+Alt+D"), QString());
  ASSERT_TRUE(this->set(this->first, "Ctrl+Alt+D"));
  EXPECT_EQ(this->traceOf("Ctrl+Alt+D"), "fF");
  EXPECT_EQ(this->traceOf("Ctrl+D"), QString());
  this->shortcuts.setEnabled(this->first, false);
  EXPECT_EQ(this->traceOf("Ctrl+Alt+D"), QString());
  ASSERT_TRUE(this->set(this->first, "Ctrl+D"));
  EXPECT_EQ(this->traceOf("Ctrl+D"), QString());
  this->shortcuts.setEnabled(this->first, true);
  EXPECT_EQ(this->traceOf("Ctrl+D"), "fF");
  EXPECT_EQ(this->traceOf("Ctrl+Alt+D"), QString());
  this->shortcuts.setHandlers(this->first, this->noting(u'g'));
  EXPECT_EQ(this->traceOf("Ctrl+D"), "gG");
  ASSERT_TRUE(this->shortcuts.setShortcut(this->first, std::nullopt));
  EXPECT_EQ(this->shortcuts.shortcut(this->first), std::nullopt);
  EXPECT_EQ(this->traceOf("Ctrl+D"), QString());
}

TYPED_TEST(GlobalShortcutsContract, AKeyBelongsToOneName) {
  ASSERT_TRUE(this->set(this->first, "Ctrl+D"));
  const auto refused = this->set(this->first, "F9");
  ASSERT_FALSE(refused);
  EXPECT_TRUE(refused.error().description.contains("F9"));
  EXPECT_EQ(this->shortcuts.shortcut(this->first), this->keys("Ctrl+D"));
  EXPECT_EQ(this->traceOf("Ctrl+D"), "fF");
  EXPECT_TRUE(this->set(this->first, "Ctrl+D"));
}

TYPED_TEST(GlobalShortcutsContract, AShortcutThatAHandlerDisablesGivesNoKeyUp) {
  this->shortcuts.setHandlers(this->first, {[this] {
                                              this->trace += u'f';
                                              this->shortcuts.setEnabled(this->first, false);
                                            },
                                            [this] { this->trace += u'F'; }});
  ASSERT_TRUE(this->set(this->first, "Ctrl+D"));
  EXPECT_EQ(this->traceOf("Ctrl+D"), "f");
}

TYPED_TEST(GlobalShortcutsContract, YieldsAKeyThatIsPressedAlone) {
  ASSERT_TRUE(this->set(this->first, "Escape"));
  EXPECT_EQ(this->traceOf("Escape"), "fF");
  this->shortcuts.yieldKeys({"Return", "Escape"});
  EXPECT_EQ(this->traceOf("Escape"), QString());
  ASSERT_TRUE(this->set(this->first, "Ctrl+Escape"));
  EXPECT_EQ(this->traceOf("Ctrl+Escape"), "fF");
  ASSERT_TRUE(this->set(this->first, "Escape"));
  EXPECT_EQ(this->traceOf("Escape"), QString());
  this->shortcuts.yieldKeys({});
  EXPECT_EQ(this->traceOf("Escape"), "fF");
}

TYPED_TEST(GlobalShortcutsContract, RecordsACombinationWhileNothingReacts) {
  const auto recordedBy = [this](const char* text) {
    this->tap(this->keys(text));
    EXPECT_TRUE(waitUntil([this] { return !this->recorded.isEmpty(); }));
    return std::exchange(this->recorded, {});
  };
  this->record();
  EXPECT_EQ(recordedBy("F9"), QStringList("F9"));
  this->record();
  EXPECT_EQ(recordedBy("Escape"), QStringList("none"));
  this->record(GlobalShortcuts::EscapeKey::isRecorded);
  EXPECT_EQ(recordedBy("Escape"), QStringList("Escape"));
  this->record();
  this->record();  // takes over
  EXPECT_TRUE(waitUntil([this] { return this->recorded == QStringList("none"); }));
  this->recorded.clear();
  EXPECT_EQ(recordedBy("Ctrl+D"), QStringList("Ctrl+D"));
  EXPECT_TRUE(this->trace.isEmpty());

  auto handle = this->record();
  handle.cancel();
  ASSERT_TRUE(waitUntil([&] { return handle.isDone() && !this->isRecordingCombination(); }));
  EXPECT_EQ(this->traceOf("Ctrl+D"), QString());  // and the shortcut of F9 reacts again
}

}  // namespace
}  // namespace quillmere
