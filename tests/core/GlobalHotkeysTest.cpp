#include "core/GlobalHotkeys.h"

#include <gtest/gtest.h>

#include "core/TriggerFixture.h"
#include "storage/PersistenceController.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
namespace names = shortcutNames;

struct HotkeysFixture : TriggerFixture {
  HotkeysFixture() {
    int number = 1;
    for (const char* name : names::all) giveKeys(name, qPrintable(QStringLiteral("F%1").arg(number++)));
  }
  int miniToggles = 0;
  bool isMainShown = false;
  GlobalHotkeys hotkeys{{executor, shortcuts, &dictation, &state, &settings, [this] { ++miniToggles; },
                         [this] { return isMainShown = !isMainShown; }, [this] { dictation.calls << "configure"; }},
                        logging};
  void toggle() {
    press(names::toggleRecordingWithTranscription);
    release(names::toggleRecordingWithTranscription);
  }
};

TEST(GlobalHotkeysTest, AreSetUpOnceAndTheToggleActsOnReleaseAndHoldsOffPushToTalkMeanwhile) {
  HotkeysFixture f;
  f.hotkeys.setupGlobalHotkeys();
  f.hotkeys.setupGlobalHotkeys();
  EXPECT_EQ(f.dictation.calls, QStringList{"configure"});
  // These two belong to others.
  EXPECT_FALSE(f.shortcuts.hasHandlers(names::cancelRecording));
  EXPECT_FALSE(f.shortcuts.hasHandlers(names::pushToTalk));
  f.press(names::toggleRecordingWithTranscription);
  EXPECT_TRUE(f.state.data().isToggleRecordingShortcutHeld);
  EXPECT_EQ(f.dictation.calls.size(), 1);
  f.release(names::toggleRecordingWithTranscription);
  EXPECT_FALSE(f.state.data().isToggleRecordingShortcutHeld);
  EXPECT_EQ(f.dictation.calls, (QStringList{"configure", "toggle shortcut"}));
}

TEST(GlobalHotkeysTest, ABouncingToggleCountsOnce) {
  struct Case {
    std::vector<std::chrono::milliseconds> pauses;  // before each toggle after the first
    int accepted;
  };
  const Case cases[] = {{{0ms}, 1},
                        {{299ms}, 1},
                        {{300ms}, 2},
                        // Measured from the last one that counted: ignored ones don't put it off.
                        {{100ms, 100ms, 100ms, 100ms}, 2}};
  for (const Case& c : cases) {
    HotkeysFixture f;
    f.hotkeys.setupGlobalHotkeys();
    f.dictation.calls.clear();
    f.toggle();
    for (const auto pause : c.pauses) {
      f.executor.advance(pause);
      f.toggle();
      EXPECT_FALSE(f.state.data().isToggleRecordingShortcutHeld);
    }
    EXPECT_EQ(f.dictation.calls.size(), c.accepted);
  }
}

TEST(GlobalHotkeysTest, StreamingWhereItIsOn) {
  for (const bool isEnabled : {false, true}) {
    HotkeysFixture f;
    f.settings.setStreamingEnabled(isEnabled);
    f.hotkeys.setupGlobalHotkeys();
    f.dictation.calls.clear();
    f.release(names::startStreaming);
    EXPECT_EQ(f.dictation.calls.join(','), isEnabled ? "toggle streaming_shortcut" : "");
    EXPECT_EQ(f.state.data().isStreamingShortcutTriggered, isEnabled);
    if (!isEnabled) continue;
    f.state.update([](AppStateData& data) { data.isStreamingShortcutTriggered = false; });
    f.dictation.isRecording = true;
    f.release(names::startStreaming);  // stops what runs, and transcribes it
    EXPECT_EQ(f.dictation.calls.size(), 2);
    EXPECT_FALSE(f.state.data().isStreamingShortcutTriggered);
  }
}

TEST(GlobalHotkeysTest, ChangesTheModeWhenThereIsOneAndTogglesTheWindows) {
  HotkeysFixture f;
  f.hotkeys.setupGlobalHotkeys();
  f.release(names::changeMode);
  EXPECT_EQ(f.modeToasts, QStringList());
  ModeData data;
  data.name = "Letters";
  f.store->createMode(data);
  f.release(names::changeMode);
  EXPECT_EQ(f.modeToasts, QStringList{"Letters"});  // once, whoever shows it
  f.release(names::toggleMiniWindow);
  EXPECT_EQ(f.miniToggles, 1);
  f.release(names::toggleMainWindow);
  EXPECT_TRUE(f.isMainShown);
}

// A key on its way when the application goes must not reach what is gone.
TEST(GlobalHotkeysTest, AKeyOutlivesTheHotkeys) {
  HotkeysFixture f;
  auto hotkeys = std::make_unique<GlobalHotkeys>(
      GlobalHotkeys::Services{f.executor, f.shortcuts, &f.dictation, &f.state, &f.settings}, f.logging);
  hotkeys->setupGlobalHotkeys();
  f.dictation.calls.clear();
  f.shortcuts.release(names::toggleRecordingWithTranscription);
  hotkeys.reset();
  f.executor.runReady();
  f.shortcuts.release(names::toggleRecordingWithTranscription);
  f.executor.runReady();
  EXPECT_EQ(f.dictation.calls, QStringList());
}

}  // namespace
}  // namespace quillmere
