#include "interface/RecordingWindowManager.h"

#include <gtest/gtest.h>

#include "interface/InterfaceFixture.h"
#include "interface/RecordingDialog.h"
#include "support/FakeGlobalShortcuts.h"
#include "support/FakeKeyInterceptor.h"
#include "support/FakeRecordingPanel.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Kind = OverlayContent::Kind;

struct Fixture : InterfaceFixture {
  FakeKeyInterceptor keys;
  FakeGlobalShortcuts shortcuts;
  FakePanelRecord panel;
  QStringList calls;
  RecordingWindowManager windows{[this] { return std::make_unique<FakeRecordingPanel>(panel); }, &keys, &shortcuts,
                                 executor, Logging(log)};

  Fixture() {
    RecordingDialogIntents intents;
    intents.finishRecording = [this] { calls << QStringLiteral("finish"); };
    intents.cancel = [this] { calls << QStringLiteral("key"); };
    intents.stopRecording = [this] { calls << QStringLiteral("stop"); };
    intents.cancelTranscription = [this] { calls << QStringLiteral("cancel"); };
    intents.copyText = [this](const QString& text) { calls << QStringLiteral("copy ") + text; };
    intents.isTextOnClipboard = [] { return false; };
    windows.follow(state, &settings, intents);
  }
  void change(const std::function<void(AppStateData&)>& function) {
    state.update(function);
    executor.runReady();
  }
  void show() {
    change([](AppStateData& data) { data.showRecordingDialog = true; });
  }
  template <typename S>
  void become() {
    change([](AppStateData& data) { data.recordingState.kind = S{}; });
  }
  void ask() {
    change([](AppStateData& data) { data.showCancelConfirmation = true; });
  }
  void close() {
    change([](AppStateData& data) { data.showRecordingDialog = false; });
  }
  // A text comes out of what ran.
  void arrive(bool isPasteFailed = false) {
    become<RecordingState::Transcribing>();
    change([&](AppStateData& data) {
      data.lastTranscription = QStringLiteral("Hello");
      data.recordingState.kind = RecordingState::Idle{};
      data.pendingRetryAudioPath.reset();
      data.transcriptionPasteFailed = isPasteFailed;
    });
  }
  Kind kind() const { return panel.contents.back().kind; }
};

TEST(RecordingWindowManager, TheWishForAPanelHoldsAtOnce) {
  Fixture f;
  f.show();
  f.become<RecordingState::Recording>();
  f.settings.general().setShowRecordingWindow(false);
  EXPECT_EQ(f.panel.open(), 0);
  EXPECT_TRUE(f.calls.isEmpty()) << "the dictation goes on";
  f.settings.general().setShowRecordingWindow(true);
  EXPECT_EQ(f.panel.open(), 1);
  EXPECT_EQ(f.kind(), Kind::recording);
}

TEST(RecordingWindowManager, ShowsADictationFromStartToPaste) {
  Fixture f;
  f.show();
  EXPECT_EQ(f.panel.open(), 1);
  EXPECT_EQ(f.kind(), Kind::starting);
  f.become<RecordingState::Recording>();
  EXPECT_EQ(f.kind(), Kind::recording);
  f.windows.setLiveMetrics(1.0F, 1.0);
  EXPECT_FLOAT_EQ(f.panel.verticalScale, 0.1F * 0.75F + 0.25F);
  f.become<RecordingState::Transcribing>();
  EXPECT_EQ(f.kind(), Kind::working);
  f.arrive();
  EXPECT_EQ(f.kind(), Kind::working);
  f.close();
  EXPECT_EQ(f.kind(), Kind::pasted);
  f.executor.advance(899ms);
  EXPECT_EQ(f.panel.open(), 1);
  f.executor.advance(1ms);
  EXPECT_EQ(f.panel.open(), 0);
}

TEST(RecordingWindowManager, ANewDictationReplacesTheWordOfTheLast) {
  Fixture f;
  f.show();
  f.arrive();
  f.close();
  f.change([](AppStateData& data) { data.lastTranscription.clear(); });
  f.show();
  EXPECT_EQ(f.panel.open(), 1);
  EXPECT_EQ(f.panel.shown, 2);
  f.executor.advance(2s);
  EXPECT_EQ(f.panel.open(), 1);
  EXPECT_EQ(f.kind(), Kind::starting);
}

// However a dictation ends without a text, its pill goes. The fields of the end are written one after another around
// the change of state.
TEST(RecordingWindowManager, EveryEndWithoutATextEndsThePill) {
  const auto fail = [](AppStateData& data) { data.dictationError = DictationError{QStringLiteral("No luck.")}; };
  const auto idle = [](AppStateData& data) { data.recordingState.kind = RecordingState::Idle{}; };
  const auto silence = [](AppStateData& data) { data.dictationNotice = DictationNotice::nothingHeard; };
  using Change = std::function<void(AppStateData&)>;
  struct Case {
    const char* name;
    std::vector<Change> changes;
    Duration after;
  };
  for (const Case& c :
       {Case{"error, then idle", {fail, idle}, 0s}, Case{"idle, then error", {idle, fail}, 0s},
        Case{"notice, then idle", {silence, idle}, 1500ms}, Case{"idle, then notice", {idle, silence}, 1500ms}})
    for (const bool isStart : {false, true}) {
      Fixture f;
      f.show();
      if (!isStart) f.become<RecordingState::Transcribing>();
      for (const Change& change : c.changes) f.state.update(change);
      f.executor.runReady();
      if (c.after > 0s) {
        EXPECT_EQ(f.kind(), Kind::notice) << c.name;
        f.executor.advance(c.after - 1ms);
        EXPECT_EQ(f.panel.open(), 1) << c.name;
        f.executor.advance(1ms);
      }
      EXPECT_EQ(f.panel.open(), 0) << c.name;
      EXPECT_FALSE(f.state.data().showRecordingDialog) << c.name;
      EXPECT_EQ(f.executor.timerCount(), 0U) << c.name;
    }
  // What went wrong before says nothing about what runs now.
  Fixture f;
  f.state.update(fail);
  f.change([](AppStateData& data) {
    data.recordingState.kind = RecordingState::Transcribing{};
    data.showRecordingDialog = true;
  });
  EXPECT_EQ(f.panel.open(), 1);
  f.arrive();
  EXPECT_EQ(f.panel.open(), 1) << "its text counts";
}

TEST(RecordingWindowManager, AClickOnTheGroundTakesAwayWhatNobodyWaitsFor) {
  struct Case {
    Kind kind;
    std::function<void(Fixture&)> make;
    bool leaves;
  };
  for (const Case& c : std::initializer_list<Case>{
           {Kind::starting, [](Fixture&) {}, false},
           {Kind::recording, [](Fixture& f) { f.become<RecordingState::Recording>(); }, false},
           {Kind::question,
            [](Fixture& f) {
              f.become<RecordingState::Recording>();
              f.ask();
            },
            false},
           {Kind::working, [](Fixture& f) { f.become<RecordingState::Transcribing>(); }, true},
           {Kind::ready, [](Fixture& f) { f.arrive(true); }, true},
           {Kind::notice,
            [](Fixture& f) { f.change([](AppStateData& data) { data.dictationNotice = DictationNotice::tooShort; }); },
            true},
           {Kind::pasted,
            [](Fixture& f) {
              f.arrive();
              f.close();
            },
            true}}) {
    Fixture f;
    f.show();
    c.make(f);
    ASSERT_EQ(f.kind(), c.kind);
    f.panel.handlers.onGroundClicked();
    f.executor.runReady();
    EXPECT_EQ(f.panel.open(), c.leaves ? 0 : 1) << int(c.kind);
    EXPECT_EQ(f.calls, QStringList());
  }
}

TEST(RecordingWindowManager, HasButtonsToStopAndCancel) {
  Fixture f;
  f.show();
  f.become<RecordingState::Recording>();
  f.panel.handlers.onCancel();
  f.panel.handlers.onFinish();
  f.panel.handlers.onFinish();
  EXPECT_EQ(f.calls, (QStringList{QStringLiteral("key"), QStringLiteral("finish")})) << "not a second dictation";
  f.become<RecordingState::Transcribing>();
  f.panel.handlers.onFinish();
  f.panel.handlers.onCancel();
  f.arrive();
  f.panel.handlers.onCancel();
  EXPECT_EQ(f.calls.size(), 3) << "a text on its way is not cancelled";
}

// The older dictation is being transcribed or pasted when the next one begins.
TEST(RecordingWindowManager, ShowsTheNewestDictation) {
  for (const bool isPasting : {false, true}) {
    Fixture f;
    f.show();
    f.become<RecordingState::Transcribing>();
    if (isPasting) f.arrive();
    f.change([](AppStateData& data) {
      data.lastTranscription.clear();
      data.recordingState.kind = RecordingState::Idle{};
    });
    EXPECT_EQ(f.kind(), Kind::starting) << isPasting;
    f.close();
    EXPECT_EQ(f.panel.open(), 0) << "nothing of it was pasted";
  }
}

TEST(RecordingWindowManager, TakesTheKeysOnlyWhileItAsks) {
  Fixture f;
  f.show();
  f.become<RecordingState::Recording>();
  EXPECT_FALSE(f.keys.isRunning());
  f.ask();
  EXPECT_TRUE(f.keys.isRunning());
  EXPECT_TRUE(f.windows.isOverlayVisible());
  EXPECT_TRUE(f.windows.dialog()->state().usingCancelOverlayEventTap);
  EXPECT_FALSE(f.panel.hasLocalKeys);
  EXPECT_FALSE(f.panel.contents.back().stopKey.isEmpty());

  EXPECT_TRUE(f.keys.pressEscape());
  EXPECT_TRUE(f.state.data().showCancelConfirmation) << "inside the key handling";
  f.executor.runReady();
  EXPECT_FALSE(f.state.data().showCancelConfirmation);
  EXPECT_FALSE(f.keys.isRunning());
  EXPECT_EQ(f.calls, QStringList());
  EXPECT_EQ(f.panel.open(), 1);

  f.ask();
  EXPECT_TRUE(f.keys.pressReturn());
  EXPECT_TRUE(f.keys.pressReturn());
  f.executor.runReady();
  EXPECT_EQ(f.calls, QStringList{QStringLiteral("stop")});
  EXPECT_FALSE(f.keys.isRunning());
  EXPECT_EQ(f.panel.open(), 0);
}

TEST(RecordingWindowManager, ShortcutsLeaveTheQuestionItsKeys) {
  for (const bool canTakeKeys : {true, false}) {
    Fixture f;
    f.keys.isAllowed = canTakeKeys;
    const QString cancel = QStringLiteral("cancel"), toggle = QStringLiteral("toggle");
    EXPECT_TRUE(f.shortcuts.setShortcut(cancel, KeyCombination::parse(QStringLiteral("Escape"))));
    EXPECT_TRUE(f.shortcuts.setShortcut(toggle, KeyCombination::parse(QStringLiteral("Ctrl+Return"))));
    f.show();
    f.become<RecordingState::Recording>();
    EXPECT_TRUE(f.shortcuts.hasKey(cancel));
    f.ask();
    EXPECT_EQ(f.shortcuts.hasKey(cancel), !canTakeKeys) << "where the question can't have it, it still cancels";
    EXPECT_TRUE(f.shortcuts.hasKey(toggle));
    f.windows.stopCancelOverlay();
    EXPECT_TRUE(f.shortcuts.hasKey(cancel));
  }
}

TEST(RecordingWindowManager, AsksWithItsOwnKeysWhereOthersCantBeHad) {
  Fixture f;
  f.keys.isAllowed = false;
  f.show();
  f.become<RecordingState::PostProcessing>();
  f.ask();
  EXPECT_TRUE(f.panel.hasLocalKeys);
  EXPECT_FALSE(f.windows.dialog()->state().usingCancelOverlayEventTap);
  EXPECT_EQ(f.kind(), Kind::question);
  EXPECT_EQ(f.panel.contents.back().stopKey, QString()) << "a key that goes elsewhere is not named";
  f.panel.handlers.onDismissQuestion();
  f.executor.runReady();
  EXPECT_FALSE(f.panel.hasLocalKeys);
  EXPECT_FALSE(f.state.data().showCancelConfirmation);
  f.ask();
  f.panel.handlers.onConfirmCancel();
  f.executor.runReady();
  EXPECT_EQ(f.calls, QStringList{QStringLiteral("cancel")}) << "what runs is a transcription";
}

TEST(RecordingWindowManager, KeepsTheTextOfAFailedPasteToBeCopied) {
  for (const bool isCopied : {true, false}) {
    Fixture f;
    f.show();
    f.arrive(true);
    EXPECT_EQ(f.kind(), Kind::ready);
    if (isCopied) f.panel.handlers.onCopy();
    EXPECT_EQ(f.calls, isCopied ? QStringList{QStringLiteral("copy Hello")} : QStringList());
    const Duration time = isCopied ? 900ms : 12s;
    f.executor.advance(time - 1ms);
    EXPECT_EQ(f.panel.open(), 1);
    f.executor.advance(1ms);
    EXPECT_EQ(f.panel.open(), 0);
    EXPECT_FALSE(f.state.data().transcriptionPasteFailed);
    EXPECT_EQ(f.executor.timerCount(), 0U);
  }
}

TEST(RecordingWindowManager, WithoutTheWindowNothingShows) {
  Fixture f;
  f.settings.general().setShowRecordingWindow(false);
  f.show();
  f.become<RecordingState::Recording>();
  f.windows.setLiveMetrics(0.5F, 1);
  f.close();
  EXPECT_EQ(f.panel.shown, 0);
}

}  // namespace
}  // namespace quillmere
