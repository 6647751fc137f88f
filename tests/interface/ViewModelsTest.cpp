#include <gtest/gtest.h>

#include "interface/AppStateViewModel.h"
#include "interface/DownloadEstimate.h"
#include "interface/InterfaceFixture.h"
#include "interface/ModelsViewModel.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

using Fixture = InterfaceFixture;

TEST(AppStateViewModel, SaysInWordsWhatTheTrayShows) {
  Fixture f;
  AppStateViewModel app(f.state, f.store.get(), {});
  app.setMicrophone(QStringLiteral("USB"), true);
  app.setModel(QStringLiteral("Base"), true);
  EXPECT_EQ(app.trayStateName(), QStringLiteral("ready"));
  app.setModel({}, false);
  EXPECT_EQ(app.trayStateName(), QStringLiteral("unable"));
  EXPECT_TRUE(app.statusText().contains(QStringLiteral("model")));
  app.setMicrophone({}, false);
  EXPECT_TRUE(app.statusText().contains(QStringLiteral("microphone")));
  f.state.update([](AppStateData& data) { data.recordingState.kind = RecordingState::Recording{}; });
  EXPECT_EQ(app.trayStateName(), QStringLiteral("recording")) << "what runs counts more than what is missing";
}

TEST(DownloadEstimate, FollowsTheSpeedOfTheLastSeconds) {
  const TimePoint start{};
  DownloadEstimate estimate;
  estimate.add(start, 50e6);  // from an earlier download
  EXPECT_EQ(estimate.remaining(100e6), std::nullopt);
  for (int i = 1; i <= 10; ++i) estimate.add(start + i * 500ms, 50e6 + i * 500e3);
  ASSERT_TRUE(estimate.remaining(100e6));
  EXPECT_NEAR(std::chrono::duration<double>(*estimate.remaining(100e6)).count(), 45, 0.5);
  for (int i = 1; i <= 60; ++i) estimate.add(start + 5s + i * 500ms, 55e6);
  EXPECT_EQ(estimate.remaining(100e6), std::nullopt) << "nothing arrives";
  estimate.add(start + 60s, 0);
  EXPECT_EQ(estimate.remaining(100e6), std::nullopt) << "begun anew";
}

struct ModelsFixture : Fixture {
  std::vector<ModePtr> chosen;
  ModePtr selected = makeMode("One");
  std::unique_ptr<ModelsViewModel> list;

  ModelsFixture() {
    state.selectMode(*selected, false);
    list = std::make_unique<ModelsViewModel>(ModelsViewModel::Services{
        models, executor, &state, store.get(), &notices, [this](ModePtr m) { chosen.push_back(std::move(m)); }});
  }
  QVariant of(const char* name, int role) const {
    for (int i = 0; i < list->rowCount(); ++i)
      if (list->data(list->index(i), ModelsViewModel::nameRole) == QString::fromLatin1(name))
        return list->data(list->index(i), role);
    return {};
  }
};

TEST(ModelsViewModel, ShowsTheCatalogueAndWhatIsHere) {
  ModelsFixture f;
  EXPECT_FALSE(f.list->hasModel());
  EXPECT_TRUE(f.of("base", ModelsViewModel::activeRole).toBool());
  int changes = 0;
  QObject::connect(f.list.get(), &QAbstractItemModel::dataChanged, f.list.get(), [&] { ++changes; });
  f.install(QStringLiteral("small"));
  EXPECT_GE(changes, 1);
  EXPECT_TRUE(f.list->hasModel());
  f.list->use(QStringLiteral("tiny"));
  EXPECT_TRUE(f.of("base", ModelsViewModel::activeRole).toBool()) << "not here";
  f.list->use(QStringLiteral("small"));
  EXPECT_TRUE(f.of("small", ModelsViewModel::activeRole).toBool());
  EXPECT_EQ(f.chosen, std::vector<ModePtr>{f.selected});
  EXPECT_EQ(f.store->fetchMode(f.state.data().selectedModeId)->model, QStringLiteral("small"));
  f.list->remove(QStringLiteral("small"));
  f.executor.runUntilIdle();
  EXPECT_FALSE(f.of("small", ModelsViewModel::downloadedRole).toBool());
}

TEST(ModelsViewModel, DownloadsWithProgressAndTimeLeftOrSaysWhyNot) {
  ModelsFixture f;
  const auto is = [&f](int role) { return f.of("tiny", role).toBool(); };
  const auto progressText = [&f] { return f.of("tiny", ModelsViewModel::progressTextRole).toString(); };
  f.downloader.answer = [](const HttpDownloadRequest& request) {
    FakeHttpAnswer answer = FakeHttpDownloader::serve(request, QByteArray(4'000'000, 'x'), "\"e\"");
    answer.pieceDelay = 100ms;
    return answer;
  };
  for (int i = 0; i < 2; ++i) f.list->download(QStringLiteral("tiny"));
  f.executor.runUntil([&] { return is(ModelsViewModel::downloadingRole); });
  EXPECT_EQ(progressText(), QStringLiteral("Connecting…"));
  f.executor.runUntil([&] { return progressText().contains(QStringLiteral("left")); });
  EXPECT_GT(f.of("tiny", ModelsViewModel::progressRole).toDouble(), 0);
  f.list->cancel(QStringLiteral("tiny"));
  f.executor.runUntil([&] { return !is(ModelsViewModel::downloadingRole); });
  EXPECT_TRUE(is(ModelsViewModel::partialRole));
  EXPECT_EQ(f.downloader.requests.size(), 1U);
  EXPECT_TRUE(f.notices.toasts.empty());

  f.downloader.answer = [](const HttpDownloadRequest&) { return FakeHttpAnswer{.statusCode = 404}; };
  f.list->download(QStringLiteral("tiny"));
  f.executor.runUntil([&] { return !f.notices.toasts.empty(); });
  EXPECT_FALSE(is(ModelsViewModel::downloadingRole));
}

}  // namespace
}  // namespace quillmere
