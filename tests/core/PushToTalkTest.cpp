#include "core/PushToTalk.h"

#include <gtest/gtest.h>

#include "core/TriggerFixture.h"
#include "support/FakeKeyEventMonitor.h"
#include "triggers/BareModifierKeyMonitor.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

struct PushToTalkFixture : TriggerFixture {
  bool isTrusted = true;
  FakeKeyEventMonitor keyboard;
  BareModifierKeyMonitor monitor{keyboard, executor, nullptr, logging};
  PushToTalk pushToTalk{services(), logging};

  PushToTalkFixture() { giveKeys(shortcutNames::pushToTalk, "Pause"); }
  PushToTalk::Services services() {
    PushToTalk::Services result{executor, dictation, monitor};
    result.shortcuts = &shortcuts;
    result.settings = &settings;
    result.appState = &state;
    result.errorReporting = &reporting;
    result.isTrustedForAccessibility = [this] { return isTrusted; };
    return result;
  }
  void configure(PushToTalkMode mode) {
    settings.setPushToTalkMode(mode);
    pushToTalk.configure();
    executor.runReady();
  }
  // What is held in this mode goes down, and the time after which a bare modifier counts as held is over.
  void hold(PushToTalkMode mode) {
    if (mode == PushToTalkMode::control) keyboard.setFlags(modifierFlags::control);
    if (mode == PushToTalkMode::custom) shortcuts.press(shortcutNames::pushToTalk);
    executor.advance(2s);
  }
  void letGo(PushToTalkMode mode) {
    if (mode == PushToTalkMode::control) keyboard.setFlags(0);
    if (mode == PushToTalkMode::custom) shortcuts.release(shortcutNames::pushToTalk);
    executor.runReady();
  }
};

TEST(PushToTalkTest, WhatIsHeldBeginsUnlessAnotherTriggerDidAndItsReleaseAlwaysEnds) {
  for (const PushToTalkMode mode : {PushToTalkMode::control, PushToTalkMode::custom}) {
    SCOPED_TRACE(rawValue(mode).toStdString());
    for (const bool isToggleHeld : {true, false}) {
      PushToTalkFixture f;
      f.configure(mode);
      f.hold(mode);
      EXPECT_EQ(f.dictation.calls, QStringList{"hold"});
      f.setHeld(isToggleHeld);
      f.letGo(mode);
      EXPECT_EQ(f.dictation.calls, (QStringList{"hold", "release"})) << "also where the recorder does not run yet";

      PushToTalkFixture other;
      other.configure(mode);
      other.setHeld(isToggleHeld);
      other.dictation.isRecording = !isToggleHeld;
      other.hold(mode);
      EXPECT_EQ(other.dictation.calls, QStringList());
    }
  }
}

TEST(PushToTalkTest, AKeyWithTheHeldOneSpoilsOnlyAHold) {
  for (const bool isToggleHeld : {true, false}) {
    PushToTalkFixture f;
    f.configure(PushToTalkMode::control);
    f.hold(PushToTalkMode::control);
    f.setHeld(isToggleHeld);
    f.keyboard.pressKey();
    f.executor.runReady();
    EXPECT_EQ(f.dictation.calls.contains("interference"), !isToggleHeld);
  }
}

// The press finds a recording that something else began: the monitor must not stay in a hold.
TEST(PushToTalkTest, APressDuringARecordingLeavesTheMonitorReady) {
  PushToTalkFixture f;
  f.configure(PushToTalkMode::control);
  f.dictation.isRecording = true;
  f.hold(PushToTalkMode::control);
  EXPECT_EQ(f.monitor.state(), MonitorState::idle);
  f.letGo(PushToTalkMode::control);
  f.dictation.isRecording = false;
  f.hold(PushToTalkMode::control);
  EXPECT_EQ(f.dictation.calls, QStringList{"hold"});
}

TEST(PushToTalkTest, TheGuardsSeeTheStateOfTheMomentTheyRun) {
  PushToTalkFixture f;
  f.configure(PushToTalkMode::custom);
  f.shortcuts.press(shortcutNames::pushToTalk);
  f.dictation.isRecording = true;  // begun by another trigger before this press is looked at
  f.executor.runReady();
  EXPECT_EQ(f.dictation.calls, QStringList());
}

TEST(PushToTalkTest, OneModeAtATime) {
  PushToTalkFixture f;
  f.settings.setPushToTalkDoublePressEnabled(false);
  f.configure(PushToTalkMode::control);
  f.keyboard.setFlags(modifierFlags::control);  // a quick tap locks nothing
  f.executor.advance(100ms);
  f.keyboard.setFlags(0);
  f.executor.advance(3s);
  EXPECT_EQ(f.dictation.calls, QStringList());
  EXPECT_TRUE(f.monitor.isMonitoring());
  EXPECT_FALSE(f.shortcuts.hasHandlers(shortcutNames::pushToTalk));

  f.configure(PushToTalkMode::custom);
  EXPECT_FALSE(f.monitor.isMonitoring());
  EXPECT_TRUE(f.shortcuts.hasHandlers(shortcutNames::pushToTalk));

  f.configure(PushToTalkMode::disabled);
  EXPECT_FALSE(f.shortcuts.hasHandlers(shortcutNames::pushToTalk));
}

// The mode changes while somebody talks: the key no longer ends it, and an armed monitor of before doesn't come back.
TEST(PushToTalkTest, AChangeBeforeTheMonitorStartedWins) {
  PushToTalkFixture f;
  f.settings.setPushToTalkMode(PushToTalkMode::control);
  f.pushToTalk.configure();
  f.settings.setPushToTalkMode(PushToTalkMode::disabled);
  f.pushToTalk.configure();
  f.executor.runReady();
  EXPECT_FALSE(f.monitor.isMonitoring());
  EXPECT_EQ(f.keyboard.startCount, 0);
}

TEST(PushToTalkTest, AMissingPermissionIsReportedOnceUntilItIsThere) {
  PushToTalkFixture f;
  f.isTrusted = false;
  f.configure(PushToTalkMode::leftAlt);
  f.configure(PushToTalkMode::rightAlt);
  EXPECT_FALSE(f.monitor.isMonitoring());
  EXPECT_EQ(f.reporting.reports.size(), 1U);
  f.isTrusted = true;
  f.configure(PushToTalkMode::rightAlt);
  EXPECT_TRUE(f.monitor.isMonitoring());
  f.isTrusted = false;
  f.configure(PushToTalkMode::rightAlt);
  EXPECT_FALSE(f.monitor.isMonitoring());
  EXPECT_EQ(f.reporting.reports.size(), 2U);
}

}  // namespace
}  // namespace quillmere
