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
  EXPECT_EQ(f.log->count("🔧 Setting up global hotkeys..."), 1);
  EXPECT_EQ(f.log->count("🔧 Global hotkeys already configured, skipping duplicate setup"), 1);
  EXPECT_EQ(f.dictation.calls, QStringList{"configure"});
  // These two belong to others.
  EXPECT_FALSE(f.shortcuts.hasHandlers(names::cancelRecording));
  EXPECT_FALSE(f.shortcuts.hasHandlers(names::pushToTalk));
  f.dictation.calls.clear();
  f.press(names::toggleRecordingWithTranscription);
  EXPECT_TRUE(f.state.data().isToggleRecordingShortcutHeld);
  EXPECT_EQ(f.dictation.calls, QStringList());
  f.release(names::toggleRecordingWithTranscription);
  EXPECT_FALSE(f.state.data().isToggleRecordingShortcutHeld);
  EXPECT_EQ(f.dictation.calls, QStringList{"toggle shortcut"});
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
                        {{200ms, 200ms}, 2},
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
    EXPECT_EQ(f.log->contains("🚫 Ignoring rapid toggle (pressed 299ms after previous)"), c.pauses[0] == 299ms);
  }
}

TEST(GlobalHotkeysTest, Streaming) {
  struct Case {
    bool isEnabled;
    bool isRecording;
    const char* call;
    bool isTriggered;
    const char* line;
  };
  const Case cases[] = {
      {false, false, "", false, "📡 Streaming shortcut pressed but streaming is disabled"},
      {false, true, "", false, "📡 Streaming shortcut pressed but streaming is disabled"},
      {true, false, "toggle streaming_shortcut", true, "📡 Started streaming transcription with language: de"},
      {true, true, "toggle streaming_shortcut", false, ""},  // stops what runs, and transcribes it
  };
  for (const Case& c : cases) {
    HotkeysFixture f;
    f.settings.setStreamingEnabled(c.isEnabled);
    f.settings.setStreamingLanguage("de");
    f.hotkeys.setupGlobalHotkeys();
    f.dictation.calls.clear();
    f.dictation.isRecording = c.isRecording;
    f.press(names::startStreaming);
    EXPECT_EQ(f.dictation.calls, QStringList());
    f.release(names::startStreaming);
    EXPECT_EQ(f.dictation.calls.join(','), c.call);
    EXPECT_EQ(f.state.data().isStreamingShortcutTriggered, c.isTriggered);
    if (*c.line) {
      EXPECT_EQ(f.log->count(c.line), 1);
    }
  }
}

TEST(GlobalHotkeysTest, ChangesTheModeWhenThereIsOne) {
  HotkeysFixture f;
  f.hotkeys.setupGlobalHotkeys();
  f.press(names::changeMode);
  f.release(names::changeMode);
  EXPECT_EQ(f.modeToasts, QStringList());

  ModeData data;
  data.name = "Letters";
  f.store->createMode(data);
  f.press(names::changeMode);
  f.release(names::changeMode);
  EXPECT_EQ(f.modeToasts, QStringList{"Letters"});  // once, whoever shows it
  EXPECT_TRUE(f.log->contains("🔄 Cycled to mode: Letters via keyboard shortcut"));
}

TEST(GlobalHotkeysTest, Windows) {
  HotkeysFixture f;
  f.hotkeys.setupGlobalHotkeys();
  f.release(names::toggleMiniWindow);
  EXPECT_EQ(f.miniToggles, 1);
  f.release(names::toggleMainWindow);
  EXPECT_EQ(f.log->count("🪟 Shown main window via keyboard shortcut"), 1);
  f.release(names::toggleMainWindow);
  EXPECT_EQ(f.log->count("🪟 Hidden main window via keyboard shortcut"), 1);
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
