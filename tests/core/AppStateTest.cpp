#include "core/AppState.h"

#include <gtest/gtest.h>

#include <thread>

#include "core/TriggerFixture.h"

namespace quillmere {
namespace {

using E = TranscriptionError;

TEST(AppState, KnowsWhichErrorsTheUserHasToActOn) {
  const std::vector<std::pair<const char*, bool>> messages{
      {"Your api KEY is wrong", true}, {"401 Unauthorized", true},     {"Insufficient Credits left", true},
      {"Quota Exceeded", true},        {"The network is down", false}, {"", false}};
  for (const auto& [message, isCritical] : messages) {
    TriggerFixture f;
    f.state.showNotice(QString::fromLatin1(message));
    EXPECT_EQ(f.state.data().errorMessage, std::nullopt);
    f.state.showError(QString::fromLatin1(message));
    ASSERT_EQ(f.notices.toasts.size(), 2U);
    EXPECT_FALSE(f.notices.toasts[0].second) << message;
    EXPECT_EQ(f.notices.toasts[1].second, isCritical) << message;
    EXPECT_EQ(f.state.data().errorMessage, QString::fromLatin1(message));
    EXPECT_FALSE(f.state.data().showErrorAlert);
  }
  const std::vector<std::pair<E, bool>> errors{{E{E::ApiKeyMissing{}}, true},
                                               {E{E::Unauthorized{}}, true},
                                               {E{E::InsufficientCredits{1, 2}}, true},
                                               {E{E::QuotaExceeded{QStringLiteral("X"), {}}}, true},
                                               {E{E::RateLimited{}}, false},
                                               {E{E::StreamingInterrupted{}}, false}};
  for (const auto& [error, isCritical] : errors) {
    TriggerFixture f;
    f.state.showTranscriptionError(error);
    ASSERT_EQ(f.notices.toasts.size(), 1U);
    EXPECT_EQ(f.notices.toasts[0].second, isCritical) << qPrintable(classify(error).code);
    EXPECT_EQ(f.state.data().errorMessage, localizedDescription(error));
  }
}

TEST(AppState, TakesAnErrorFromAnotherThread) {
  TriggerFixture f;
  std::thread([&] { f.state.showError(QStringLiteral("from afar")); }).join();
  EXPECT_TRUE(f.notices.toasts.empty());
  f.executor.runUntilIdle();
  EXPECT_EQ(f.notices.toasts.size(), 1U);

  auto gone = std::make_unique<AppState>(f.executor, f.defaults, nullptr, &f.notices, Logging());
  std::thread([&] { gone->showError(QStringLiteral("too late")); }).join();
  gone.reset();
  f.executor.runUntilIdle();
  EXPECT_EQ(f.notices.toasts.size(), 1U);
}

TEST(AppState, EveryObserverSeesEveryChangeInOrder) {
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
