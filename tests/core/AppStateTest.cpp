#include "core/AppState.h"

#include <gtest/gtest.h>

#include <thread>

#include "core/TriggerFixture.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

TEST(AppStateTest, TakesAnErrorFromAnotherThread) {
  TriggerFixture f;
  std::thread([&] { f.state.showError("from afar"); }).join();
  EXPECT_TRUE(f.notices.toasts.empty());
  f.executor.runUntilIdle();
  EXPECT_EQ(f.notices.toasts.size(), 1U);

  auto gone = std::make_unique<AppState>(f.dependencies(), Logging());
  std::thread([&] { gone->showError("too late"); }).join();
  gone.reset();
  f.executor.runUntilIdle();
  EXPECT_EQ(f.notices.toasts.size(), 1U);
}

TEST(AppStateTest, ChangesMadeByAnObserverBuildOnOneAnother) {
  TriggerFixture f;
  QStringList seen;
  const auto watching = f.state.observe([&](const AppStateData& data) {
    seen.append(data.streamingText);
    if (data.streamingText != "1") return;
    f.state.update([](AppStateData& d) { d.streamingText += "2"; });
    f.state.update([](AppStateData& d) { d.streamingText += "3"; });
  });
  f.state.update([](AppStateData& d) { d.streamingText = "1"; });
  EXPECT_EQ(seen, (QStringList{"1", "12", "123"}));
}

TEST(AppStateTest, TheSectionAndTheFirstRunAreRemembered) {
  TriggerFixture f;
  f.state.setHasCompletedOnboarding(true);
  f.state.selectNavigationItem(NavigationItem::history);
  const AppState next(f.dependencies(), f.logging);
  EXPECT_TRUE(next.data().hasCompletedOnboarding);
  EXPECT_EQ(next.data().selectedNavigationItem, NavigationItem::history);
  f.defaults.setValue("lastNavigationItem", "Nowhere");
  EXPECT_EQ(AppState(f.dependencies(), f.logging).data().selectedNavigationItem, NavigationItem::home);
}

TEST(AppStateTest, WhatWasSaidAndIsLookedForIsInNoPublicLine) {
  TriggerFixture f;
  const auto lookFor = [](AppStateData& data) { data.historySearchQuery = "invoice"; };
  f.state.update([](AppStateData& data) { data.recordingState = {RecordingState::Complete{"my secret"}}; });
  f.state.update(lookFor);
  std::make_unique<AppState>(f.dependencies(), f.logging)->update(lookFor);  // gone before its timer fires
  f.executor.advance(1s);
  EXPECT_EQ(f.log->count("Searching history for: invoice"), 1);
  EXPECT_TRUE(f.log->contains("my secret"));
  for (const char* said : {"invoice", "secret"}) EXPECT_FALSE(f.log->publicLines().join('\n').contains(said));
}

}  // namespace
}  // namespace quillmere
