#include "core/AudioRecordingManager.h"

#include <gtest/gtest.h>

#include "core/RecordingManagerFixture.h"
#include "recording/MicrophonePermissionManager.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

TEST(AudioRecordingManagerTest, CarriesThePermissionToTheRecorder) {
  RecordingManagerFixture f;
  f.makeManager();
  EXPECT_TRUE(f.manager->hasMicrophonePermission().get());
  EXPECT_TRUE(f.manager->lifecycleManager().hasMicrophonePermission());
  EXPECT_EQ(f.authorization.questions, 0);

  f.authorization.current = MicrophoneAuthorization::Status::denied;
  f.manager->permissionManager().refreshPermission();
  EXPECT_FALSE(f.manager->lifecycleManager().hasMicrophonePermission());
  EXPECT_FALSE(f.manager->errorMessage().get().value_or(QString()).isEmpty());
  f.authorization.current = MicrophoneAuthorization::Status::authorized;
  f.manager->permissionManager().refreshPermission();
  EXPECT_TRUE(f.manager->lifecycleManager().hasMicrophonePermission());
}

// The start of the application is not over yet, and a command comes from outside.
TEST(AudioRecordingManagerTest, APressBeforeTheConfigurationIsAnOrdinaryOne) {
  RecordingManagerFixture f;
  f.makeManager();
  f.toggle(RecordingTriggerSource::shortcut);
  EXPECT_TRUE(f.isRecording());
  EXPECT_EQ(f.state.data().recordingState.diagnosticLabel(), "recording");
  EXPECT_TRUE(f.recorders.paths[0].startsWith(f.settings.storage().recordingsFolder()));
  EXPECT_TRUE(f.notices.toasts.empty());
}

struct HeldKey : RecordingManagerFixture {
  HeldKey() {
    settings.setPushToTalkMode(PushToTalkMode::control);
    state.setPersistenceController(store.get());
    configure();
    keyboard.setFlags(modifierFlags::control);
    executor.advance(250ms);
    executor.advance(5s);
  }
};

// The monitor is idle after every end of a recording, so that the next press is a clean start.
TEST(AudioRecordingManagerTest, NoHoldOutlivesItsRecording) {
  const std::vector<std::pair<const char*, std::function<void(HeldKey&)>>> ends{
      {"toggled by a button", [](HeldKey& f) { f.toggle(); }},
      {"thrown away", [](HeldKey& f) { f.manager->cancelFromShortcut(); }},
      {"microphone gone",
       [](HeldKey& f) {
         f.recorders.interrupt({AudioRecorder::Interruption::Kind::deviceGone, "The microphone went away."});
       }},
      {"end of the application", [](HeldKey& f) { runTask(f.executor, f.manager->shutDown()); }},
  };
  for (const auto& [name, end] : ends) {
    SCOPED_TRACE(name);
    HeldKey f;
    ASSERT_TRUE(f.isRecording());
    ASSERT_EQ(f.manager->bareModifierKeyMonitor().state(), MonitorState::pttActive);
    end(f);
    f.executor.runUntil([&] { return !f.isRecording(); });
    EXPECT_EQ(f.manager->bareModifierKeyMonitor().state(), MonitorState::idle);
  }
}

TEST(AudioRecordingManagerTest, AnotherTriggerModeDuringARecordingLetsItRun) {
  HeldKey f;
  f.settings.setPushToTalkMode(PushToTalkMode::disabled);
  f.executor.runReady();
  f.keyboard.setFlags(0);
  f.executor.advance(3s);
  EXPECT_TRUE(f.isRecording());
  f.toggle();
  f.executor.runUntil([&] { return !f.isRecording(); });
}

// What has nothing to do with push-to-talk must not make the key that is held deaf.
TEST(AudioRecordingManagerTest, AnotherSettingDuringAHoldChangesNothing) {
  HeldKey f;
  f.settings.setCurrentMode("Letters");
  f.defaults.changeByOtherProcess("lastNavigationItem", "History");
  f.executor.runReady();
  EXPECT_TRUE(f.isRecording());
  EXPECT_GT(f.manager->liveMetrics().recordingDuration.get(), 4.0);
  f.keyboard.setFlags(0);
  f.executor.runReady();
  EXPECT_FALSE(f.isRecording());
}

// The accessibility bus of a session that has just begun: late by a moment, or by much.
TEST(AudioRecordingManagerTest, ArmsTheKeyWhenThePermissionComes) {
  for (const Duration delay : {Duration(300ms), Duration(30s)}) {
    RecordingManagerFixture f;
    f.accessibility.trusted = false;
    f.settings.setPushToTalkMode(PushToTalkMode::rightOption);
    f.executor.startTimer(delay, [&f] { f.accessibility.trusted = true; });
    f.configure();
    const bool isLate = delay > 1s;
    EXPECT_EQ(f.manager->bareModifierKeyMonitor().isMonitoring(), !isLate);
    EXPECT_EQ(f.reporting.reports.size(), isLate ? 1U : 0U);
    f.executor.advance(31s);
    EXPECT_TRUE(f.manager->bareModifierKeyMonitor().isMonitoring());
    EXPECT_EQ(f.reporting.reports.size(), isLate ? 1U : 0U);
  }
}

TEST(AudioRecordingManagerTest, LeavesNoObserverBehind) {
  RecordingManagerFixture f;
  const size_t before = f.defaults.observerCount();
  f.configure();
  f.toggle();
  f.manager.reset();
  EXPECT_EQ(f.defaults.observerCount(), before);
  EXPECT_EQ(f.devices.observerCount(), 0U);
  f.executor.advance(10s);  // nothing that was on its way reaches what is gone
}

}  // namespace
}  // namespace quillmere
