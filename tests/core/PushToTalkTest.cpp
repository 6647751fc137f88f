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
  std::function<void()> pedalDown;
  std::function<void()> pedalUp;
  std::optional<QString> pedalDevice;
  int pedalStops = 0;
  PushToTalk pushToTalk{services(), logging};

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
    log->clear();
  }
  void usePedal() {
    PedalMonitoring pedal;
    pedal.start = [this](std::optional<QString> device, std::function<void()> down, std::function<void()> up) {
      pedalDevice = std::move(device);
      pedalDown = std::move(down);
      pedalUp = std::move(up);
    };
    pedal.stop = [this] { ++pedalStops; };
    pushToTalk.setPedalMonitoring(pedal);
  }
  // The signals, as the keyboard, the shortcut and the pedal give them.
  void signal(const QString& name) {
    if (name == "down") {
      keyboard.setFlags(modifierFlags::control);
      executor.advance(250ms);
    } else if (name == "up" || name == "interference") {
      // Held long enough that the release neither locks nor counts as a tap.
      keyboard.setFlags(modifierFlags::control);
      const bool isHeld = std::exchange(dictation.isRecording, false);
      const bool wasToggleHeld = state.data().isToggleRecordingShortcutHeld;
      setHeld(false);
      executor.advance(2s);
      dictation.isRecording = isHeld;
      setHeld(wasToggleHeld);
      dictation.calls.clear();
      reporting.breadcrumbs.clear();
      log->clear();
      if (name == "up")
        keyboard.setFlags(0);
      else
        keyboard.pressKey();
    } else if (name == "press") {
      shortcuts.press(shortcutNames::pushToTalk);
    } else if (name == "release") {
      shortcuts.release(shortcutNames::pushToTalk);
    } else if (name == "pedalDown") {
      pedalDown();
    } else {
      pedalUp();
    }
    executor.runReady();
  }
};

TEST(PushToTalkTest, WhatEachSignalDoes) {
  struct Case {
    PushToTalkMode mode;
    const char* signal;
    bool isHeld;
    bool isRecording;
    const char* call;  // "" none
  };
  constexpr auto control = PushToTalkMode::control;
  constexpr auto custom = PushToTalkMode::custom;
  constexpr auto pedal = PushToTalkMode::usbPedal;
  const Case cases[] = {
      {control, "down", false, false, "hold"},      {control, "down", true, false, ""},
      {control, "down", false, true, ""},           {control, "up", false, true, "release"},
      {control, "up", false, false, "release"},  // the recorder may not run yet
      {control, "up", true, true, "release"},       {control, "interference", false, true, "interference"},
      {control, "interference", true, true, ""},    {custom, "press", false, false, "hold"},
      {custom, "press", true, false, ""},           {custom, "press", false, true, ""},
      {custom, "release", false, true, "release"},  {custom, "release", true, true, "release"},
      {custom, "release", false, false, "release"}, {pedal, "pedalDown", false, false, "hold"},
      {pedal, "pedalDown", true, false, ""},        {pedal, "pedalDown", false, true, ""},
      {pedal, "pedalUp", false, true, "release"},   {pedal, "pedalUp", true, true, "release"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.signal) + (c.isHeld ? ", held" : "") + (c.isRecording ? ", recording" : ""));
    PushToTalkFixture f;
    f.usePedal();
    f.giveKeys(shortcutNames::pushToTalk, "Pause");
    f.configure(c.mode);
    f.setHeld(c.isHeld);
    f.dictation.isRecording = c.isRecording;
    f.signal(c.signal);
    EXPECT_EQ(f.dictation.calls.join(','), c.call);
  }
}

// The press finds a recording that something else began: the monitor must not stay in a hold.
TEST(PushToTalkTest, APressDuringARecordingLeavesTheMonitorReady) {
  PushToTalkFixture f;
  f.configure(PushToTalkMode::control);
  f.dictation.isRecording = true;
  f.signal("down");
  EXPECT_EQ(f.monitor.state(), MonitorState::idle);
  f.keyboard.setFlags(0);
  f.dictation.isRecording = false;
  f.signal("down");
  EXPECT_EQ(f.dictation.calls, QStringList{"hold"});
}

TEST(PushToTalkTest, TheGuardsSeeTheStateOfTheMomentTheyRun) {
  PushToTalkFixture f;
  f.giveKeys(shortcutNames::pushToTalk, "Pause");
  f.configure(PushToTalkMode::custom);
  f.shortcuts.press(shortcutNames::pushToTalk);
  f.dictation.isRecording = true;  // begun by another trigger before this press is looked at
  f.executor.runReady();
  EXPECT_EQ(f.dictation.calls, QStringList());
}

TEST(PushToTalkTest, OneModeAtATime) {
  PushToTalkFixture f;
  f.giveKeys(shortcutNames::pushToTalk, "Pause");
  f.usePedal();
  f.settings.setSelectedPedalDeviceId("pedal-1");
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

  f.configure(PushToTalkMode::usbPedal);
  EXPECT_EQ(f.pedalDevice, "pedal-1");
  EXPECT_FALSE(f.shortcuts.hasHandlers(shortcutNames::pushToTalk));

  f.settings.setSelectedPedalDeviceId("");
  f.settings.setPushToTalkMode(PushToTalkMode::usbPedal);
  f.pushToTalk.configure();
  EXPECT_EQ(f.pedalDevice, std::nullopt);
  EXPECT_TRUE(f.log->contains("✅ USB pedal monitor started for device: any"));

  const int stops = f.pedalStops;
  f.settings.setPushToTalkMode(PushToTalkMode::disabled);
  f.pushToTalk.configure();
  EXPECT_EQ(f.pedalStops, stops + 1);
  EXPECT_TRUE(f.log->contains("📴 Push to Talk is disabled"));
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
  f.reporting.isOn = false;
  f.configure(PushToTalkMode::fn);
  f.reporting.isOn = true;  // what may not be reported is reported later
  f.configure(PushToTalkMode::leftOption);
  f.configure(PushToTalkMode::rightOption);
  EXPECT_FALSE(f.monitor.isMonitoring());
  ASSERT_EQ(f.reporting.reports.size(), 1U);
  const auto* error = std::get_if<PlatformError>(&f.reporting.reports[0].error);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->domain, "com.quillmere.permissions");
  EXPECT_EQ(error->code, 1001);
  EXPECT_EQ(f.reporting.reports[0].options.message, "Push to Talk blocked: Accessibility permission missing");

  f.isTrusted = true;
  f.configure(PushToTalkMode::rightOption);
  EXPECT_TRUE(f.monitor.isMonitoring());
  f.isTrusted = false;
  f.configure(PushToTalkMode::rightOption);
  EXPECT_FALSE(f.monitor.isMonitoring());
  EXPECT_EQ(f.reporting.reports.size(), 2U);
}

}  // namespace
}  // namespace quillmere
