#include "core/AudioRecordingManager.h"

#include <gtest/gtest.h>

#include "core/RecordingManagerFixture.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

TEST(AudioRecordingManagerTest, CarriesThePermissionToTheRecorder) {
  RecordingManagerFixture f;
  f.authorization.current = MicrophoneAuthorization::Status::denied;
  f.permission.refreshPermission();
  EXPECT_FALSE(f.lifecycle.hasMicrophonePermission());
  EXPECT_FALSE(f.permission.errorMessage().get().isEmpty());
  EXPECT_EQ(f.authorization.questions, 0) << "looking does not ask";
  f.authorization.current = MicrophoneAuthorization::Status::authorized;
  f.permission.refreshPermission();
  EXPECT_TRUE(f.lifecycle.hasMicrophonePermission());
}

struct HeldKey : RecordingManagerFixture {
  HeldKey() {
    settings.setPushToTalkMode(PushToTalkMode::control);
    configure();
    keyboard.setFlags(modifierFlags::control);
    executor.advance(250ms);
    executor.advance(5s);
  }
  bool isRecording() const { return flow->isRecordingNow(); }
};

// The monitor is idle after every end of a recording, so that the next press is a clean start.
TEST(AudioRecordingManagerTest, NoHoldOutlivesItsRecording) {
  const std::vector<std::pair<const char*, std::function<void(HeldKey&)>>> ends{
      {"toggled by a button", [](HeldKey& f) { f.press(RecordingTriggerSource::uiButton); }},
      {"thrown away", [](HeldKey& f) { f.flow->cancelFromShortcut(); }},
      {"microphone gone",
       [](HeldKey& f) {
         f.recorders.interrupt({AudioRecorder::Interruption::Kind::deviceGone, "The microphone went away."});
       }},
      {"end of the application", [](HeldKey& f) { runTask(f.executor, f.flow->shutDown()); }},
  };
  for (const auto& [name, end] : ends) {
    SCOPED_TRACE(name);
    HeldKey f;
    ASSERT_TRUE(f.isRecording());
    ASSERT_EQ(f.modifierMonitor.state(), MonitorState::pttActive);
    end(f);
    f.executor.runUntil([&] { return !f.isRecording(); });
    EXPECT_EQ(f.modifierMonitor.state(), MonitorState::idle);
  }
}

// What has nothing to do with push-to-talk must not make the key that is held deaf; another mode lets the recording
// run.
TEST(AudioRecordingManagerTest, SettingsThatChangeDuringAHold) {
  HeldKey f;
  f.settings.setCurrentMode("Letters");
  f.defaults.changeByOtherProcess("lastNavigationItem", "History");
  f.executor.runReady();
  EXPECT_TRUE(f.isRecording());
  EXPECT_GT(f.manager->liveMetrics().recordingDuration.get(), 4.0);
  f.keyboard.setFlags(0);
  f.executor.runReady();
  EXPECT_FALSE(f.isRecording());

  HeldKey other;
  other.settings.setPushToTalkMode(PushToTalkMode::disabled);
  other.executor.runReady();
  other.keyboard.setFlags(0);
  other.executor.advance(3s);
  EXPECT_TRUE(other.isRecording());
}

// The chord that began a dictation ends it, although the key that is held to talk is part of it; a key that is pressed
// with the held one spoils only what the hold began.
TEST(AudioRecordingManagerTest, AChordWithThePushToTalkKey) {
  RecordingManagerFixture f;
  f.settings.setPushToTalkMode(PushToTalkMode::control);
  f.configure();
  const auto chord = [&](Duration held) {
    f.keyboard.setFlags(modifierFlags::control);
    f.executor.advance(held);
    f.keyboard.setFlags(modifierFlags::control | modifierFlags::alt);
    f.keyboard.pressKey();
    f.executor.advance(30ms);
    f.press();  // the shortcut
    f.executor.advance(30ms);
    f.keyboard.setFlags(0);
    f.executor.advance(3s);
  };
  for (const Duration held : {Duration(60ms), Duration(400ms)}) {
    SCOPED_TRACE(held / 1ms);
    f.press();
    f.executor.advance(3s);
    ASSERT_TRUE(f.flow->isRecordingNow());
    const size_t rows = f.rows().size();
    chord(held);
    f.settle();
    EXPECT_FALSE(f.flow->isRecordingNow());
    ASSERT_EQ(f.rows().size(), rows + 1);
    EXPECT_EQ(f.rows().front()->status, "completed");
    f.clock.set(f.clock.now().addSecs(20));
  }
  // What the hold itself began is thrown away.
  f.keyboard.setFlags(modifierFlags::control);
  f.executor.advance(3s);
  ASSERT_TRUE(f.flow->isRecordingNow());
  f.keyboard.pressKey();
  f.executor.advance(3s);
  EXPECT_FALSE(f.flow->isRecordingNow());
  EXPECT_EQ(f.persistence->fetchTranscripts(-1, 0, {}, HistoryFilter::discarded).size(), 1u);
}

// The accessibility bus of a desktop that has just begun: late by a moment, or by much.
TEST(AudioRecordingManagerTest, ArmsTheKeyWhenThePermissionComes) {
  for (const Duration delay : {Duration(300ms), Duration(30s)}) {
    RecordingManagerFixture f;
    f.accessibility.trusted = false;
    f.settings.setPushToTalkMode(PushToTalkMode::rightAlt);
    f.executor.startTimer(delay, [&f] { f.accessibility.trusted = true; });
    f.configure();
    const bool isLate = delay > 1s;
    EXPECT_EQ(f.modifierMonitor.isMonitoring(), !isLate);
    EXPECT_EQ(f.reporting.reports.size(), isLate ? 1U : 0U);
    f.executor.advance(31s);
    EXPECT_TRUE(f.modifierMonitor.isMonitoring());
  }
}

}  // namespace
}  // namespace quillmere
