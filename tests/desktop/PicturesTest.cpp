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

  DesktopFixture& make(bool hasHistory = true) {
    fixture_ = std::make_unique<DesktopFixture>(QString::fromLatin1(GetParam().language), hasHistory);
    DesktopAppearance& appearance = fixture_->interface->qml().appearance();
    appearance.take(QStringLiteral("org.freedesktop.appearance"), QStringLiteral("color-scheme"),
                    GetParam().isDark ? 1U : 2U);
    appearance.take(QStringLiteral("org.gnome.desktop.interface"), QStringLiteral("enable-animations"), false);
    return *fixture_;
  }
  QQuickWindow* show(DesktopFixture& f) {
    f.interface->showWindow();
    f.settle();
    QQuickWindow* const window = f.interface->mainWindow().window();
    return window;
  }
  void TearDown() override {
    EXPECT_EQ(fixture_->log->lines(LogLevel::warning), QStringList());
    EXPECT_EQ(fixture_->log->lines(LogLevel::error), QStringList());
  }

 private:
  std::unique_ptr<DesktopFixture> fixture_;
};

TEST_P(Pictures, OfTheMainWindow) {
  DesktopFixture& f = make();
  QQuickWindow* const window = show(f);
  ASSERT_NE(window, nullptr);
  const QImage history = keep(window, QStringLiteral("history"));
  EXPECT_EQ(history.pixelColor(history.width() - 3, history.height() - 3), f.interface->qml().theme().ground());

  for (QQuickItem* item : itemsOf(window))
    if (item->property("expandedId").isValid())
      item->setProperty("expandedId", f.interface->history().index(1).data(HistoryModel::idRole));
  ASSERT_TRUE(f.settleUntil([&] { return f.interface->waveform().waveformSamples().size() > 1; }));
  f.settle();
  keep(window, QStringLiteral("history-recording"));
  for (const auto& [words, name] : {std::pair("quarterly", "search"), std::pair("no such words", "no-hits")}) {
    f.interface->history().setSearchText(QString::fromLatin1(words));
    f.executor.advance(std::chrono::milliseconds(300));
    f.settle();
    keep(window, QString::fromLatin1(name));
  }
  f.interface->history().setSearchText({});
  const TranscriptPtr thrownAway = f.add({}, f.clock.now().addSecs(-2400), f.store->fetchAllModes()[0], 22);
  thrownAway->status = TranscriptStatus::discarded;
  thrownAway->audioFilePath = f.store->fetchTranscriptsWithStatus(TranscriptStatus::failed)[0]->audioFilePath;
  f.store->save();
  f.executor.advance(std::chrono::milliseconds(300));
  f.interface->history().setShowsDiscarded(true);
  f.settle();
  keep(window, QStringLiteral("history-discarded"));
}

TEST_P(Pictures, OfTheOtherPages) {
  DesktopFixture& f = make();
  f.shortcutStore.setKeys(QStringLiteral("toggleRecordingWithTranscription"), KeyCombination::parse("Ctrl+Alt+D"));
  f.settings.setPushToTalkMode(PushToTalkMode::rightAlt);
  f.store->addVocabularyItem(QStringLiteral("Quillmere"));
  f.store->addVocabularyItem(QStringLiteral("q three"), QStringLiteral("Q3"));
  QQuickWindow* const window = show(f);
  ASSERT_NE(window, nullptr);
  for (const QVariant& entry : f.interface->mainWindow().pages()) {
    const QString page = entry.toMap()[QStringLiteral("key")].toString();
    f.interface->mainWindow().setPage(page);
    for (const QSize size : {QSize(960, 620), QSize(720, 480)}) {
      window->resize(size);
      f.settle();
      keep(window, page + (size.width() == 720 ? QStringLiteral("-small") : QString()));
    }
  }
}

TEST_P(Pictures, OfAnEmptyHistoryAndTheFirstRun) {
  DesktopFixture& f = make(false);
  QQuickWindow* const window = show(f);
  ASSERT_NE(window, nullptr);
  keep(window, QStringLiteral("history-empty"));
  f.change([](AppStateData& data) { data.showOnboarding = true; });
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
}

TEST_P(Pictures, OfTheOverlay) {
  DesktopFixture& f = make();
  f.interface->warmUp();
  QQuickWindow* const window = f.interface->overlayWindow().window();
  ASSERT_NE(window, nullptr) << qPrintable(f.log->lines().join(u'\n'));
  const auto take = [&](const char* name, const std::function<void(AppStateData&)>& change) {
    f.change(change);
    EXPECT_EQ(window->height(), 40);
    EXPECT_GE(window->width(), 200);
    EXPECT_LE(window->width(), 360);
    keep(window, QStringLiteral("overlay-") + QString::fromLatin1(name));
  };
  const auto scaleText = [&](double scale) {
    f.interface->qml().appearance().take(QStringLiteral("org.gnome.desktop.interface"),
                                         QStringLiteral("text-scaling-factor"), scale);
  };
  f.change([](AppStateData& data) { data.showRecordingDialog = true; });
  EXPECT_TRUE(window->isVisible());
  for (int i = 0; i < 30; ++i) f.interface->setLiveMetrics(0.8F, 7.2);
  take("recording", [](AppStateData& data) { data.recordingState.kind = RecordingState::Recording{}; });
  f.interceptor.isAllowed = true;
  take("question", [](AppStateData& data) { data.showCancelConfirmation = true; });
  scaleText(2.0);
  take("question-large", [](AppStateData&) {});
  scaleText(1.0);
  take("transcribing", [](AppStateData& data) {
    data.showCancelConfirmation = false;
    data.recordingState.kind = RecordingState::Transcribing{};
  });
  take("on-clipboard", [](AppStateData& data) {
    data.recordingState.kind = RecordingState::Idle{};
    data.lastTranscription = QStringLiteral("Hello");
    data.transcriptionPasteFailed = true;
  });
  f.isTextOnClipboard = false;
  take("ready", [](AppStateData& data) { data.errorMessage = QStringLiteral("x"); });
  take("nothing-heard", [](AppStateData& data) {
    data.lastTranscription.clear();
    data.dictationNotice = DictationNotice::nothingHeard;
  });
  f.executor.advance(std::chrono::milliseconds(1500));
  f.settle();
  EXPECT_FALSE(window->isVisible());
}

TEST_P(Pictures, OfTheToasts) {
  DesktopFixture& f = make();
  for (const auto& [key, isCritical] :
       {std::pair("transcription.error.network.generic", false), {"transcription.error.modelProtected", true}}) {
    f.interface->notices().showToast(localizedText(key), isCritical);
    f.settle();
    keep(f.interface->errorToastWindow().window(),
         isCritical ? QStringLiteral("toast-critical") : QStringLiteral("toast"));
  }
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
