#include "delivery/AccessibilityConsent.h"

#include <gtest/gtest.h>

#include "storage/SettingsManager.h"
#include "support/FakeDefaultsStore.h"
#include "support/ManualExecutor.h"
#include "support/RecordingLogSink.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

struct FakeSwitch final : AccessibilitySwitch {
  std::optional<State> now = State{};
  int turns = 0;
  Task<std::optional<State>> state() override { co_return now; }
  Task<bool> turn(bool isOn) override {
    ++turns;
    if (!now) co_return false;
    now->isOn = isOn;
    co_return true;
  }
};

class AccessibilityConsentTest : public testing::Test {
 protected:
  AccessibilityConsentTest() { defaults.setValue("hasCompletedOnboarding", true); }
  void run() {
    consent.reset();
    consent = std::make_unique<AccessibilityConsent>(desktop, settings, defaults, executor, logging);
    consent->start();
    executor.runReady();
  }
  void end() { runTask(executor, consent->end()); }
  bool isOn() const { return desktop.now && desktop.now->isOn; }

  ManualExecutor executor;
  FakeDefaultsStore defaults;
  const Logging logging{std::make_shared<RecordingLogSink>()};
  SettingsManager settings{defaults, StandardFolders{}, logging};
  FakeSwitch desktop;
  std::unique_ptr<AccessibilityConsent> consent;
};

TEST_F(AccessibilityConsentTest, ItIsOnWhileTheProgramRunsAndThenAsItWas) {
  for (const bool wasOn : {false, true}) {
    desktop.now->isOn = wasOn;
    run();
    EXPECT_TRUE(isOn());
    end();
    EXPECT_EQ(isOn(), wasOn);
  }
  EXPECT_EQ(desktop.turns, 2);
}

TEST_F(AccessibilityConsentTest, NothingHappensBeforeItWasExplainedOrAgainstTheSetting) {
  defaults.setValue("hasCompletedOnboarding", false);
  run();
  EXPECT_FALSE(isOn());
  defaults.setValue("hasCompletedOnboarding", true);
  executor.runReady();
  EXPECT_TRUE(isOn());
  ASSERT_TRUE(settings.setText("enableAccessibility", "false"));
  executor.runReady();
  EXPECT_FALSE(isOn());
  end();
  run();
  EXPECT_EQ(desktop.turns, 2);
}

TEST_F(AccessibilityConsentTest, ARunThatWasKilledIsMadeGood) {
  run();
  run();  // without an end between
  EXPECT_EQ(desktop.turns, 1);
  end();
  EXPECT_FALSE(isOn());
  // Also where the end found nobody who answers.
  run();
  const auto session = desktop.now;
  desktop.now.reset();
  end();
  desktop.now = session;
  run();
  end();
  EXPECT_FALSE(isOn());
}

TEST_F(AccessibilityConsentTest, AScreenReaderKeepsIt) {
  run();
  desktop.now->isScreenReaderOn = true;
  end();
  EXPECT_TRUE(isOn());
}

}  // namespace
}  // namespace quillmere
