#include <gtest/gtest.h>

#include <QScreen>
#include <QTest>

#include "app/desktop/IconPainter.h"
#include "app/desktop/OverlayPlace.h"
#include "desktop/Keyboard.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

bool isControl(const QQuickItem* item) {
  return item->inherits("QQuickAbstractButton") || item->inherits("QQuickTextField") ||
         item->inherits("QQuickSwitch") || item->activeFocusOnTab();
}

// Every control that is there has a name for a screen reader; gives how many there were.
int expectNames(QQuickWindow* window, const char* where) {
  int controls = 0;
  for (QQuickItem* item : itemsOf(window)) {
    if (!isControl(item)) continue;
    ++controls;
    EXPECT_FALSE(accessibleName(item).trimmed().isEmpty())
        << where << ": a " << item->metaObject()->className() << " at " << item->mapToScene({}).x() << ", "
        << item->mapToScene({}).y();
  }
  return controls;
}

TEST(Windows, EveryControlHasAName) {
  QAccessible::setActive(true);
  for (const bool hasHistory : {true, false}) {
    DesktopFixture f(QStringLiteral("en"), hasHistory);
    f.interface->showWindow();
    f.settle();
    QQuickWindow* const window = f.interface->mainWindow().window();
    ASSERT_NE(window, nullptr);
    EXPECT_GE(expectNames(window, "history"), hasHistory ? 15 : 4);
    for (const QVariant& page : f.interface->mainWindow().pages()) {
      f.interface->mainWindow().setPage(page.toMap()[QStringLiteral("key")].toString());
      f.settle();
      EXPECT_GE(expectNames(window, qPrintable(f.interface->mainWindow().page())), 4);
    }
  }
  DesktopFixture f;
  f.state.update([](AppStateData& data) { data.showOnboarding = true; });
  f.interface->showWindow();
  f.settle();
  for (int step = 0; step < 4; ++step) {
    EXPECT_GE(expectNames(f.interface->mainWindow().window(), "first run"), step == 0 ? 2 : 4) << step;
    f.interface->firstRun()->next();
    f.settle();
  }
  f.interface->hideWindow();
  f.change([](AppStateData& data) {
    data.showRecordingDialog = true;
    data.showCancelConfirmation = true;
  });
  EXPECT_GE(expectNames(f.interface->overlayWindow().window(), "overlay"), 2);
  QAccessible::setActive(false);
}

TEST(Windows, PillStandsInTheMiddleAboveTheEdge) {
  EXPECT_EQ(overlayPlace(QRect(0, 0, 1920, 1040), QSize(200, 40)), QPoint(860, 960));
  EXPECT_EQ(overlayPlace(QRect(1920, 30, 1001, 770), QSize(200, 40)), QPoint(2321, 720));
  EXPECT_EQ(toastPlace(QRect(0, 0, 1920, 1040), QSize(360, 60)), QPoint(780, 892));

  DesktopFixture f;
  f.change([](AppStateData& data) { data.showRecordingDialog = true; });
  QQuickWindow* const window = f.interface->overlayWindow().window();
  const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
  f.change([](AppStateData& data) { data.showCancelConfirmation = true; });
  EXPECT_GT(window->width(), 200);
  EXPECT_EQ(window->position(), overlayPlace(screen, window->size())) << "grows about its middle";
}

// With the mouse, which is all that the pill has.
TEST(Windows, PillIsWorkedByClicks) {
  DesktopFixture f;
  f.change([](AppStateData& data) { data.showRecordingDialog = true; });
  f.change([](AppStateData& data) { data.recordingState.kind = RecordingState::Recording{}; });
  QQuickWindow* const window = f.interface->overlayWindow().window();
  const auto click = [&](const char* name) {
    QPointF place(20, 20);  // the ground
    for (QQuickItem* item : itemsOf(window))
      if (name && accessibleName(item) == QString::fromUtf8(name))
        place = item->mapToScene(item->boundingRect().center());
    EXPECT_TRUE(!name || place != QPointF(20, 20)) << name;
    QTest::mouseClick(window, Qt::LeftButton, Qt::NoModifier, place.toPoint());
    f.settle();
  };
  click("Throw away");
  EXPECT_EQ(f.cancels, 1);
  click("Stop and transcribe");
  EXPECT_EQ(f.toggles, 1);
  click(nullptr);
  EXPECT_TRUE(f.state.data().showRecordingDialog) << "it still records";
  f.change([](AppStateData& data) { data.recordingState.kind = RecordingState::Transcribing{}; });
  click("Cancel");
  EXPECT_EQ(f.cancels, 2);
  EXPECT_TRUE(f.state.data().showRecordingDialog) << "the button is not the ground";
  f.change([](AppStateData& data) {
    data.lastTranscription = QStringLiteral("Hello");
    data.transcriptionPasteFailed = true;
    data.recordingState.kind = RecordingState::Idle{};
  });
  f.isTextOnClipboard = false;
  f.change([](AppStateData& data) { data.errorMessage = QStringLiteral("x"); });
  click("Copy");
  EXPECT_EQ(f.copied.size(), 1);
  EXPECT_TRUE(f.state.data().showRecordingDialog) << "until it was seen that it is copied";
  click(nullptr);
  EXPECT_FALSE(f.state.data().showRecordingDialog);
  EXPECT_EQ(f.log->lines(LogLevel::warning), QStringList());
}

TEST(Windows, LocalKeysAnswerTheQuestion) {
  DesktopFixture f;  // without an interceptor
  f.interface->showWindow();
  f.change([](AppStateData& data) {
    data.showRecordingDialog = true;
    data.recordingState.kind = RecordingState::Recording{};
  });
  f.change([](AppStateData& data) { data.showCancelConfirmation = true; });
  press(f, Qt::Key_Escape);
  EXPECT_FALSE(f.state.data().showCancelConfirmation);
  EXPECT_TRUE(f.interface->isWindowVisible()) << "the key was for the question";
  EXPECT_EQ(f.stops, 0);
  f.change([](AppStateData& data) { data.showCancelConfirmation = true; });
  press(f, Qt::Key_Enter);
  EXPECT_EQ(f.stops, 1);
}

TEST(Windows, MainWindowRemembersItsPlaceAndPage) {
  DesktopFixture f;
  f.interface->showWindow(QStringLiteral("models"));
  f.settle();
  QQuickWindow* window = f.interface->mainWindow().window();
  EXPECT_EQ(window->minimumSize(), QSize(720, 480));
  window->setGeometry(20, 30, 730, 500);
  f.settle();
  f.interface->hideWindow();
  EXPECT_EQ(f.defaults.value(QStringLiteral("mainWindowPlace")).toString(), QStringLiteral("20 30 730 500"));
  for (const char* stored : {"20 30 730 500", "9999 9999 730 500", "1 2 3", "a b c d", "-50 -900 100 100"}) {
    f.defaults.setValue(QStringLiteral("mainWindowPlace"), QString::fromLatin1(stored));
    DesktopQml qml(false, Logging());
    MainWindow second(qml, f.state, f.defaults);
    second.addPage({QStringLiteral("history"), QStringLiteral("sidebar.history"), QStringLiteral("history"),
                    QStringLiteral("EmptyNote")});
    second.addPage({QStringLiteral("models"), QStringLiteral("sidebar.models"), QStringLiteral("models"),
                    QStringLiteral("EmptyNote")});
    EXPECT_EQ(second.page(), QStringLiteral("models"));
    const QRect place = second.window()->geometry();
    EXPECT_GE(place.width(), 720);
    EXPECT_GE(place.height(), 480);
    if (QLatin1String(stored) == QLatin1String("20 30 730 500")) {
      EXPECT_EQ(place, QRect(20, 30, 730, 500));
    }
  }
}

TEST(Windows, HistoryIsWorkedByKeyboard) {
  DesktopFixture f;
  QQuickWindow* const window = activeWindow(f, QStringLiteral("models"));
  ASSERT_NE(window, nullptr);
  press(f, Qt::Key_F, Qt::ControlModifier);
  EXPECT_EQ(f.interface->mainWindow().page(), QStringLiteral("history"));
  type(f, QStringLiteral("figures"));
  f.executor.advance(300ms);
  f.settle();
  EXPECT_EQ(f.interface->history().searchText(), QStringLiteral("figures"));
  EXPECT_EQ(f.interface->history().totalCount(), 1);
  press(f, Qt::Key_Down);
  press(f, Qt::Key_C, Qt::ControlModifier);
  ASSERT_EQ(f.copied.size(), 1);
  EXPECT_TRUE(f.copied[0].startsWith(QStringLiteral("The quarterly figures")));
  // Delete asks first, and the answer at hand is no.
  press(f, Qt::Key_Delete);
  ASSERT_NE(window->activeFocusItem(), nullptr);
  EXPECT_EQ(accessibleName(window->activeFocusItem()), QStringLiteral("Cancel"));
  press(f, Qt::Key_Return);
  f.executor.advance(300ms);
  f.settle();
  EXPECT_EQ(f.store->countTranscripts(), 5);
  EXPECT_TRUE(focused(f).startsWith(QStringLiteral("The quarterly figures"))) << "back in its row";
  // Escape: first the search, then the window.
  press(f, Qt::Key_Escape);
  f.executor.advance(300ms);
  f.settle();
  EXPECT_EQ(f.interface->history().searchText(), QString());
  EXPECT_EQ(f.interface->history().totalCount(), 5);
  EXPECT_TRUE(f.interface->isWindowVisible());
  press(f, Qt::Key_Escape);
  EXPECT_FALSE(f.interface->isWindowVisible());
  EXPECT_EQ(f.log->lines(LogLevel::warning), QStringList());
}

// A recording that is opened shows how loud it is.
TEST(Windows, HistoryDrawsARecording) {
  DesktopFixture f;
  QQuickWindow* const window = activeWindow(f);
  ASSERT_NE(window, nullptr);
  const auto bars = [&] {
    for (QQuickItem* item : itemsOf(window))
      if (accessibleName(item) == QStringLiteral("How loud the recording is")) return item;
    return static_cast<QQuickItem*>(nullptr);
  };
  press(f, Qt::Key_F, Qt::ControlModifier);
  press(f, Qt::Key_Down);
  press(f, Qt::Key_Return);
  EXPECT_EQ(bars(), nullptr) << "the first has no recording";
  press(f, Qt::Key_Down);
  press(f, Qt::Key_Return);
  ASSERT_TRUE(f.settleUntil([&] { return bars() && bars()->width() > 300; }));
  EXPECT_EQ(bars()->childItems().size(), WaveformVisualizer::barCount + 1) << "the bars, and what repeats them";
  press(f, Qt::Key_Return);
  EXPECT_EQ(bars(), nullptr);
  EXPECT_EQ(f.log->lines(LogLevel::warning), QStringList());
}

TEST(Windows, FirstRunIsWorkedByKeyboard) {
  DesktopFixture f;
  f.state.update([](AppStateData& data) { data.showOnboarding = true; });
  f.interface->showWindow();
  QQuickWindow* const window = f.interface->mainWindow().window();
  ASSERT_NE(window, nullptr);
  window->requestActivate();
  ASSERT_TRUE(f.settleUntil([&] { return window->isActive() && f.interface->firstRun()->isActive(); }));
  f.speak();
  EXPECT_TRUE(f.interface->microphone().hasHeard());
  ASSERT_NE(window->activeFocusItem(), nullptr);
  EXPECT_EQ(accessibleName(window->activeFocusItem()), QStringLiteral("Continue")) << "at hand from the start";
  press(f, Qt::Key_Return);
  EXPECT_EQ(f.interface->firstRun()->step(), 1);
  EXPECT_TRUE(f.recorders.running.empty());
  ASSERT_TRUE(tabTo(f, QStringLiteral("Continue")));
  press(f, Qt::Key_Return);
  // Pages behind the first run can't be reached.
  press(f, Qt::Key_Comma, Qt::ControlModifier);
  press(f, Qt::Key_F, Qt::ControlModifier);
  EXPECT_EQ(f.interface->mainWindow().page(), QStringLiteral("history"));
  ASSERT_TRUE(tabTo(f, QStringLiteral("Choose keys: Start and stop dictating")));
  press(f, Qt::Key_Return);
  f.shortcuts.enterCombination(KeyCombination::parse(QStringLiteral("Ctrl+Alt+D")));
  f.settle();
  EXPECT_EQ(f.interface->shortcuts()->toggleKeys(), QStringLiteral("Ctrl+Alt+D"));
  ASSERT_TRUE(tabTo(f, QStringLiteral("Continue")));
  press(f, Qt::Key_Return);
  ASSERT_TRUE(tabTo(f, QStringLiteral("Field to dictate into")));
  press(f, Qt::Key_A, Qt::NoModifier, QStringLiteral("a"));
  ASSERT_TRUE(tabTo(f, QStringLiteral("Dictate")));
  press(f, Qt::Key_Return);
  EXPECT_EQ(f.trials, 1);
  EXPECT_EQ(accessibleName(window->activeFocusItem()), QStringLiteral("Field to dictate into"))
      << "where the text goes";
  EXPECT_TRUE(f.interface->isTryingDictation());
  // Escape puts the window away; the first run is still to be finished.
  press(f, Qt::Key_Escape);
  EXPECT_FALSE(f.interface->isWindowVisible());
  EXPECT_FALSE(f.state.data().hasCompletedOnboarding);
  f.interface->showWindow();
  window->requestActivate();
  ASSERT_TRUE(f.settleUntil([&] { return window->isActive(); }));
  ASSERT_TRUE(tabTo(f, QStringLiteral("Finish")));
  press(f, Qt::Key_Return);
  EXPECT_TRUE(f.state.data().hasCompletedOnboarding);
  press(f, Qt::Key_Comma, Qt::ControlModifier);
  EXPECT_EQ(f.interface->mainWindow().page(), QStringLiteral("settings"));
  EXPECT_EQ(f.log->lines(LogLevel::warning), QStringList());
}

TEST(Windows, SettingsAreWorkedByKeyboard) {
  DesktopFixture f;
  QQuickWindow* const window = activeWindow(f, QStringLiteral("settings"));
  ASSERT_NE(window, nullptr);
  ASSERT_TRUE(tabTo(f, QStringLiteral("Cut silence before it becomes text")));
  press(f, Qt::Key_Space);
  EXPECT_FALSE(f.settings.general().enableVAD());
  f.settings.general().setEnableVAD(true);
  f.settle();
  press(f, Qt::Key_Return);
  EXPECT_FALSE(f.settings.general().enableVAD()) << "the switch had followed the change from outside";
  ASSERT_TRUE(tabTo(f, QStringLiteral("Other sound while dictating")));
  press(f, Qt::Key_Down);
  EXPECT_EQ(f.settings.audio().mediaControlMode(), MediaControlMode::muteAudio);
  ASSERT_TRUE(tabTo(f, QStringLiteral("Microphone")));
  press(f, Qt::Key_Down);
  EXPECT_EQ(f.settings.audio().selectedMicrophoneId(), QStringLiteral("usb"));
  ASSERT_TRUE(tabTo(f, QStringLiteral("Seconds until then")));
  // What has the keyboard is in sight.
  const QRectF place = window->activeFocusItem()->mapRectToScene(window->activeFocusItem()->boundingRect());
  EXPECT_TRUE(QRectF(0, 0, window->width(), window->height()).contains(place));
  press(f, Qt::Key_A, Qt::ControlModifier);
  press(f, Qt::Key_3, Qt::NoModifier, QStringLiteral("3"));
  press(f, Qt::Key_Return);
  EXPECT_EQ(f.settings.clipboardRestoreDelaySeconds(), 3);
  EXPECT_EQ(f.log->lines(LogLevel::warning), QStringList());
}

TEST(Windows, ModesAndWordsAreWorkedByKeyboard) {
  DesktopFixture f;
  QQuickWindow* const window = activeWindow(f, QStringLiteral("modes"));
  ASSERT_NE(window, nullptr);
  ASSERT_TRUE(tabTo(f, QStringLiteral("New mode")));
  press(f, Qt::Key_Return);
  EXPECT_EQ(accessibleName(window->activeFocusItem()), QStringLiteral("Name"));
  EXPECT_GE(expectNames(window, "mode editor"), 6);
  type(f, QStringLiteral("Default"));
  press(f, Qt::Key_Return);
  EXPECT_EQ(f.interface->modes().count(), 2) << "the name is taken";
  press(f, Qt::Key_A, Qt::ControlModifier);
  type(f, QStringLiteral("Letters"));
  press(f, Qt::Key_Return);
  EXPECT_EQ(f.interface->modes().count(), 3);
  EXPECT_EQ(focused(f), QStringLiteral("New mode")) << "where the editor came from";
  // The list is one stop, and its buttons are those of the current row.
  press(f, Qt::Key_Tab);
  EXPECT_TRUE(focused(f).startsWith(QStringLiteral("Default.")));
  press(f, Qt::Key_End);
  EXPECT_TRUE(focused(f).startsWith(QStringLiteral("Letters.")));
  press(f, Qt::Key_Return);
  EXPECT_EQ(focused(f), QStringLiteral("Name"));
  press(f, Qt::Key_Escape);
  EXPECT_TRUE(focused(f).startsWith(QStringLiteral("Letters."))) << "the row that was edited";
  // Delete asks first, and the answer at hand is no.
  ASSERT_TRUE(tabTo(f, QStringLiteral("Delete the mode Letters")));
  press(f, Qt::Key_Return);
  EXPECT_EQ(focused(f), QStringLiteral("Cancel"));
  press(f, Qt::Key_Escape);
  EXPECT_TRUE(f.interface->isWindowVisible());
  EXPECT_EQ(f.interface->modes().count(), 3);
  EXPECT_TRUE(focused(f).startsWith(QStringLiteral("Letters."))) << qPrintable(focused(f));

  f.interface->mainWindow().setPage(QStringLiteral("vocabulary"));
  f.settle();
  ASSERT_TRUE(tabTo(f, QStringLiteral("Word")));
  type(f, QStringLiteral("Zug"));
  press(f, Qt::Key_Return);
  EXPECT_EQ(f.interface->vocabulary().count(), 1);
  EXPECT_GE(expectNames(window, "vocabulary"), 5);
  ASSERT_TRUE(tabTo(f, QStringLiteral("Remove Zug")));
  press(f, Qt::Key_Return);
  EXPECT_EQ(f.interface->vocabulary().count(), 0);
  EXPECT_EQ(f.log->lines(LogLevel::warning), QStringList());
}

TEST(Windows, SignsSayWhatTheyAreFor) {
  DesktopFixture f;
  QQuickWindow* const window = activeWindow(f, QStringLiteral("modes"));
  ASSERT_NE(window, nullptr);
  ASSERT_TRUE(tabTo(f, QStringLiteral("Delete the mode Default")));
  EXPECT_TRUE(f.settleUntil([&] {
    for (QQuickItem* item : itemsOf(window))
      if (item->property("text") == QStringLiteral("Delete the mode Default")) return true;
    return false;
  }));
}

// What people call their modes and words, and what they say, is nobody's markup.
TEST(Windows, TextIsShownAsItIs) {
  DesktopFixture f;
  f.store->addVocabularyItem(QStringLiteral("<img src=\"file:///x\">"));
  QQuickWindow* const window = activeWindow(f);
  ASSERT_NE(window, nullptr);
  int texts = 0;
  const auto expectPlain = [&](QQuickWindow* shown) {
    for (QQuickItem* item : itemsOf(shown))
      if (item->inherits("QQuickText")) {
        ++texts;
        EXPECT_EQ(item->property("textFormat").toInt(), int(Qt::PlainText))
            << qPrintable(item->property("text").toString());
      }
  };
  for (const QVariant& page : f.interface->mainWindow().pages()) {
    f.interface->mainWindow().setPage(page.toMap()[QStringLiteral("key")].toString());
    f.settle();
    expectPlain(window);
  }
  f.change([](AppStateData& data) { data.showRecordingDialog = true; });
  expectPlain(f.interface->overlayWindow().window());
  EXPECT_GT(texts, 50);
}

TEST(Windows, TrayTellsTheStateAndOffersTheModes) {
  DesktopFixture f(QStringLiteral("en"), true, true);
  TrayIcon* const tray = f.interface->tray();
  ASSERT_NE(tray, nullptr);
  EXPECT_EQ(tray->toolTip(), QStringLiteral("Quillmere: Ready. Mode: Default"));
  const QList<QAction*> actions = tray->menu().actions();
  EXPECT_EQ(actions[0]->text(), QStringLiteral("Record"));
  EXPECT_FALSE(actions[1]->isVisible());
  f.state.update([](AppStateData& data) { data.recordingState.kind = RecordingState::Recording{}; });
  EXPECT_EQ(actions[0]->text(), QStringLiteral("Stop recording"));
  EXPECT_TRUE(actions[1]->isVisible());
  actions[0]->trigger();
  EXPECT_EQ(f.toggles, 1);
  actions[1]->trigger();
  EXPECT_EQ(f.cancels, 1);
  f.state.update([](AppStateData& data) { data.recordingState.kind = RecordingState::Idle{}; });
  const QList<QAction*> modes = actions[2]->menu()->actions();
  ASSERT_EQ(modes.size(), 2);
  EXPECT_TRUE(modes[0]->isChecked());
  EXPECT_EQ(modes[1]->text(), QStringLiteral("E-mail && notes"));
  modes[1]->trigger();
  EXPECT_EQ(f.state.data().selectedModeName, QStringLiteral("E-mail & notes"));
  f.settle();
  EXPECT_TRUE(actions[2]->menu()->actions()[1]->isChecked());
  f.interface->app().setMicrophone({}, false);
  EXPECT_TRUE(tray->toolTip().contains(QStringLiteral("microphone")));

  // The state is seen without colours too.
  const auto shape = [](AppStateViewModel::TrayState state) {
    return TrayIcon::icon(state, ThemeColors::light()).pixmap(22).toImage().convertToFormat(QImage::Format_Alpha8);
  };
  EXPECT_NE(shape(AppStateViewModel::TrayState::ready), shape(AppStateViewModel::TrayState::unable));
}

TEST(Windows, NoticesWaitForTheInterface) {
  DesktopNotices notices;
  for (int i = 0; i < 6; ++i) notices.showToast(QString::number(i), false);
  struct Target final : UserNotices {
    QStringList shown;
    void showToast(const QString& message, bool) override { shown << message; }
  } target;
  notices.setTarget(&target);
  notices.showToast(QStringLiteral("now"), true);
  EXPECT_EQ(target.shown, (QStringList{QStringLiteral("2"), QStringLiteral("3"), QStringLiteral("4"),
                                       QStringLiteral("5"), QStringLiteral("now")}));
}

TEST(IconPainter, DrawsEveryIconWithinItsBounds) {
  for (const QString& name : IconPainter::names()) {
    const QImage image = IconPainter::image(name, Qt::black, 64);
    int inked = 0, edge = 0;
    for (int y = 0; y < 64; ++y)
      for (int x = 0; x < 64; ++x) {
        const bool isInked = qAlpha(image.pixel(x, y)) > 20;
        inked += isInked;
        edge += isInked && (x == 0 || y == 0 || x == 63 || y == 63);
      }
    EXPECT_GT(inked, 60) << qPrintable(name);
    EXPECT_EQ(edge, 0) << qPrintable(name) << " is cut off";
  }
}

}  // namespace
}  // namespace quillmere
