#include "core/AppState.h"

#include <gtest/gtest.h>

#include <thread>

#include "core/TriggerFixture.h"

namespace quillmere {
namespace {

using E = TranscriptionError;

TEST(AppStateTest, ToldAsCriticalIsWhatTheUserHasToActOn) {
  const std::vector<std::pair<AnyError, bool>> errors{
      {E{E::ApiKeyMissing{}}, true},
      {E{E::Unauthorized{}}, true},
      {E{E::InsufficientCredits{1, 2}}, true},
      {E{E::QuotaExceeded{QStringLiteral("X"), {}}}, true},
      {HostedCloudError{HostedCloudError::Kind::insufficientCredits, {}}, true},
      {HostedCloudError{HostedCloudError::Kind::serverFailure, {}}, false},
      {E{E::RateLimited{}}, false},
      {PlatformError{}, false}};
  for (const auto& [error, expected] : errors)
    EXPECT_EQ(isCritical(error), expected) << qPrintable(classify(error).code);
  TriggerFixture f;
  f.state.showTranscriptionError(E{E::Unauthorized{}});
  f.state.showError(QStringLiteral("bad"));
  f.state.showNotice(QStringLiteral("well"));
  ASSERT_EQ(f.notices.toasts.size(), 3U);
  EXPECT_TRUE(f.notices.toasts[0].second);
  EXPECT_FALSE(f.notices.toasts[1].second);
  EXPECT_FALSE(f.notices.toasts[2].second);
  EXPECT_EQ(f.state.data().errorMessage, QStringLiteral("bad"));  // a notice is none
}

TEST(AppStateTest, TakesAnErrorFromAnotherThread) {
  TriggerFixture f;
  std::thread([&] { f.state.showError(QStringLiteral("from afar")); }).join();
  EXPECT_TRUE(f.notices.toasts.empty());
  f.executor.runUntilIdle();
  EXPECT_EQ(f.notices.toasts.size(), 1U);

  auto gone = std::make_unique<AppState>(f.dependencies(), Logging());
  std::thread([&] { gone->showError(QStringLiteral("too late")); }).join();
  gone.reset();
  f.executor.runUntilIdle();
  EXPECT_EQ(f.notices.toasts.size(), 1U);
}

TEST(AppStateTest, EveryObserverSeesEveryChangeInOrder) {
  TriggerFixture f;
  QStringList first;
  QStringList second;
  const auto a = f.state.observe([&](const AppStateData& data) {
    first.append(data.streamingText);
    // changes made from inside build on one another
    if (data.streamingText == QStringLiteral("1")) {
      f.state.update([](AppStateData& d) { d.streamingText += QStringLiteral("2"); });
      f.state.update([](AppStateData& d) { d.streamingText += QStringLiteral("3"); });
    }
  });
  const auto b = f.state.observe([&](const AppStateData& data) { second.append(data.streamingText); });
  f.state.update([](AppStateData& d) { d.streamingText = QStringLiteral("1"); });
  const QStringList expected{QStringLiteral("1"), QStringLiteral("12"), QStringLiteral("123")};
  EXPECT_EQ(first, expected);
  EXPECT_EQ(second, expected);
}

}  // namespace
}  // namespace quillmere
