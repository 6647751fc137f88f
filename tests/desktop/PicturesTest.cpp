#include <gtest/gtest.h>

#include <QImage>
#include <QPalette>
#include <QSet>

#include "base/text/LocalizedText.h"
#include "desktop/Keyboard.h"

namespace quillmere {
namespace {

// Pictures of every window in both schemes and languages, for people to look at; the test sees that something is drawn,
// that nothing warns and that schemes differ.
struct PictureCase {
  const char* language;
  bool isDark;
};

class Pictures : public testing::TestWithParam<PictureCase> {
 protected:
  QImage keep(QQuickWindow* window, const QString& name) {
    const QImage image = DesktopFixture::keepPicture(
        window, QStringLiteral("%1-%2-%3")
                    .arg(name, QString::fromLatin1(GetParam().language),
                         GetParam().isDark ? QStringLiteral("dark") : QStringLiteral("light")));
    QSet<QRgb> colors;
    for (int y = 0; y < image.height(); y += 2)
      for (int x = 0; x < image.width(); x += 2) colors.insert(image.pixel(x, y));
    EXPECT_GT(colors.size(), 8) << qPrintable(name) << " is empty";
    return image;
  }

  void setScheme(DesktopFixture& f) {
    f.interface->qml().appearance().take(QStringLiteral("org.freedesktop.appearance"), QStringLiteral("color-scheme"),
                                         GetParam().isDark ? 1U : 2U);
    f.interface->qml().appearance().take(QStringLiteral("org.gnome.desktop.interface"),
                                         QStringLiteral("enable-animations"), false);
  }
};

TEST_P(Pictures, OfTheMainWindow) {
  DesktopFixture f(QString::fromLatin1(GetParam().language));
  setScheme(f);
  f.interface->showWindow();
  f.settle();
  QQuickWindow* const window = f.interface->mainWindow().window();
  ASSERT_NE(window, nullptr) << qPrintable(f.log->lines().join(u'\n'));
  const QImage history = keep(window, QStringLiteral("history"));
  EXPECT_EQ(history.pixelColor(history.width() - 3, history.height() - 3), f.interface->qml().theme().ground());

  for (QQuickItem* item : itemsOf(window))
    if (item->property("expandedId").isValid())
      item->setProperty("expandedId", f.interface->history().index(1).data(HistoryModel::idRole));
  ASSERT_TRUE(f.settleUntil([&] { return f.interface->waveform().waveformSamples().size() > 1; }));
  f.settle();
  keep(window, QStringLiteral("history-recording"));
  f.interface->history().setSearchText(QStringLiteral("quarterly"));
  f.executor.advance(std::chrono::milliseconds(300));
  f.settle();
  keep(window, QStringLiteral("search"));
  f.interface->history().setSearchText(QStringLiteral("no such words"));
  f.executor.advance(std::chrono::milliseconds(300));
  f.settle();
  keep(window, QStringLiteral("no-hits"));

  f.interface->mainWindow().setPage(QStringLiteral("models"));
  f.settle();
  keep(window, QStringLiteral("models"));
  window->resize(720, 480);
  f.settle();
  keep(window, QStringLiteral("models-small"));
  EXPECT_EQ(f.log->lines(LogLevel::warning), QStringList());
  EXPECT_EQ(f.log->lines(LogLevel::error), QStringList());
}

TEST_P(Pictures, OfTheOtherPages) {
  DesktopFixture f(QString::fromLatin1(GetParam().language));
  setScheme(f);
  f.shortcutStore.setKeys(QStringLiteral("toggleRecordingWithTranscription"), KeyCombination::parse("Ctrl+Alt+D"));
  f.settings.setPushToTalkMode(PushToTalkMode::rightOption);
  f.store->addVocabularyItem(QStringLiteral("Quillmere"));
  f.store->addVocabularyItem(QStringLiteral("q three"), QStringLiteral("Q3"));
  f.interface->showWindow();
  QQuickWindow* const window = f.interface->mainWindow().window();
  ASSERT_NE(window, nullptr) << qPrintable(f.log->lines().join(u'\n'));
  for (const QVariant& entry : f.interface->mainWindow().pages()) {
    const QString page = entry.toMap()[QStringLiteral("key")].toString();
    f.interface->mainWindow().setPage(page);
    for (const QSize size : {QSize(960, 620), QSize(720, 480)}) {
      window->resize(size);
      f.settle();
      keep(window, page + (size.width() == 720 ? QStringLiteral("-small") : QString()));
    }
  }
  EXPECT_EQ(f.log->lines(LogLevel::warning), QStringList());
}

TEST_P(Pictures, OfTheFirstRun) {
  DesktopFixture f(QString::fromLatin1(GetParam().language), false);
  setScheme(f);
  f.state.update([](AppStateData& data) { data.showOnboarding = true; });
  f.interface->showWindow();
  QQuickWindow* const window = f.interface->mainWindow().window();
  ASSERT_NE(window, nullptr) << qPrintable(f.log->lines().join(u'\n'));
  f.interface->firstRun()->setActive(true);
  f.settle();
  f.speak();
  keep(window, QStringLiteral("first-run-1"));
  for (int step = 2; step <= 4; ++step) {
    if (step == 3) f.interface->firstRun()->chooseModel(QStringLiteral("base"));
    f.interface->firstRun()->next();
    f.settle();
    keep(window, QStringLiteral("first-run-") + QString::number(step));
  }
  window->resize(720, 480);
  f.settle();
  keep(window, QStringLiteral("first-run-small"));
  EXPECT_EQ(f.log->lines(LogLevel::warning), QStringList());
}

TEST_P(Pictures, OfAnEmptyHistory) {
  DesktopFixture f(QString::fromLatin1(GetParam().language), false);
  setScheme(f);
  f.interface->showWindow();
  f.settle();
  ASSERT_NE(f.interface->mainWindow().window(), nullptr);
  keep(f.interface->mainWindow().window(), QStringLiteral("history-empty"));
}

TEST_P(Pictures, OfTheOverlay) {
  DesktopFixture f(QString::fromLatin1(GetParam().language));
  setScheme(f);
  f.interface->warmUp();
  QQuickWindow* const window = f.interface->overlayWindow().window();
  ASSERT_NE(window, nullptr) << qPrintable(f.log->lines().join(u'\n'));
  const auto take = [&](const char* name) {
    f.settle();
    EXPECT_EQ(window->height(), 40);
    EXPECT_GE(window->width(), 200);
    EXPECT_LE(window->width(), 360);
    keep(window, QStringLiteral("overlay-") + QString::fromLatin1(name));
  };
  const auto change = [&](const std::function<void(AppStateData&)>& function) {
    f.state.update(function);
    f.settle();
  };
  change([](AppStateData& data) { data.showRecordingDialog = true; });
  EXPECT_TRUE(window->isVisible());
  take("starting");
  change([](AppStateData& data) { data.recordingState.kind = RecordingState::Recording{}; });
  for (int i = 0; i < 30; ++i) f.interface->setLiveMetrics(0.8F, 7.2);
  take("recording");
  change([](AppStateData& data) { data.showCancelConfirmation = true; });
  take("question");
  change([](AppStateData& data) { data.showCancelConfirmation = false; });
  change([](AppStateData& data) { data.recordingState.kind = RecordingState::Transcribing{}; });
  take("transcribing");
  change([](AppStateData& data) { data.recordingState.kind = RecordingState::PostProcessing{}; });
  take("postprocessing");
  change([](AppStateData& data) {
    data.recordingState.kind = RecordingState::Idle{};
    data.lastTranscription = QStringLiteral("Hello");
  });
  change([](AppStateData& data) { data.transcriptionPasteFailed = true; });
  take("on-clipboard");
  f.isTextOnClipboard = false;
  change([](AppStateData& data) { data.errorMessage = QStringLiteral("x"); });
  take("ready");
  change([](AppStateData& data) { data.transcriptionPasteFailed = false; });
  change([](AppStateData& data) { data.showRecordingDialog = false; });
  take("pasted");
  f.executor.advance(std::chrono::milliseconds(900));
  f.settle();
  EXPECT_FALSE(window->isVisible());
  EXPECT_EQ(f.log->lines(LogLevel::warning), QStringList());
}

TEST_P(Pictures, OfTheToasts) {
  DesktopFixture f(QString::fromLatin1(GetParam().language));
  setScheme(f);
  f.interface->notices().showToast(localizedText("recording.dialog.error.offline"), false);
  f.settle();
  keep(f.interface->errorToastWindow().window(), QStringLiteral("toast"));
  f.interface->notices().showToast(localizedText("transcription.error.modelProtected"), true);
  f.settle();
  QQuickWindow* const window = f.interface->errorToastWindow().window();
  EXPECT_EQ(window->width(), 360);
  EXPECT_TRUE(window->isVisible());
  keep(window, QStringLiteral("toast-critical"));
  f.interface->showModeToast(QStringLiteral("E-mail"));
  f.settle();
}

INSTANTIATE_TEST_SUITE_P(Schemes, Pictures,
                         testing::Values(PictureCase{"en", false}, PictureCase{"en", true}, PictureCase{"de", false},
                                         PictureCase{"de", true}),
                         [](const auto& info) {
                           return std::string(info.param.language) + (info.param.isDark ? "Dark" : "Light");
                         });

}  // namespace
}  // namespace quillmere
