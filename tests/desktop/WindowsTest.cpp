#include <gtest/gtest.h>

#include <QDropEvent>
#include <QMimeData>
#include <QScreen>
#include <QTest>

#include "app/windows/OverlayPlace.h"
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

class WindowsTest : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(f.log->lines(LogLevel::warning), QStringList()); }
  // The main window with the keyboard.
  bool open(const QString& page = {}) {
    window = activeWindow(f, page);
    return window != nullptr;
  }
  // The control that has the keyboard, after Return.
  QString enter() {
    press(f, Qt::Key_Return);
    return focused(f);
  }
  void search(const QString& text) {
    type(f, text);
    f.executor.advance(300ms);
    f.settle();
  }

  DesktopFixture f;
  QQuickWindow* window = nullptr;
};

TEST(AccessibleNamesTest, OfEveryControl) {
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

TEST(OverlayPlaceTest, BesideTheWindowAndClearOfTheLine) {
  const QRect screen(0, 0, 1600, 1000);
  const QSize pill(200, 40);
  const struct {
    const char* name;
    QRect window, caret;
    QPoint place;
    int toastY;  // 30 high
  } cases[] = {
      {"nothing known", {}, {}, {700, 920}, 882},
      {"below", {100, 100, 400, 300}, {}, {200, 408}, 456},
      {"above", {100, 300, 400, 700}, {}, {200, 252}, 300},
      {"over a full one", {0, 0, 1600, 1000}, {20, 500, 1, 16}, {700, 920}, 882},
      {"line at the bottom", {0, 0, 1600, 1000}, {20, 950, 1, 16}, {700, 40}, 88},
      {"line just above it", {0, 0, 1600, 1000}, {20, 896, 1, 20}, {700, 40}, 88},
      {"half the screen", {0, 0, 800, 1000}, {}, {300, 920}, 882},
      {"at the side", {1500, 100, 300, 300}, {}, {1392, 408}, 456},
      {"elsewhere", {5000, 0, 100, 100}, {}, {700, 920}, 882},
  };
  for (const auto& c : cases) {
    const FocusPlace focus{c.window, c.caret};
    EXPECT_EQ(overlayPlace(screen, pill, focus), c.place) << c.name;
    EXPECT_EQ(toastPlace(screen, QSize(200, 30), focus).y(), c.toastY) << c.name;
  }
  EXPECT_EQ(scaledRect(QRect(3840, 200, 400, 100), QRect(1920, 0, 1920, 1080), 2), QRect(2880, 100, 200, 50));
}

TEST_F(WindowsTest, PillStandsInTheMiddleAboveTheEdge) {
  f.interceptor.isAllowed = true;  // the question names its keys
  EXPECT_EQ(overlayPlace(QRect(1920, 30, 1001, 770), QSize(200, 40)), QPoint(2321, 720));
  f.change([](AppStateData& data) { data.showRecordingDialog = true; });
  QQuickWindow* const pill = f.interface->overlayWindow().window();
  f.change([](AppStateData& data) { data.showCancelConfirmation = true; });
  EXPECT_GT(pill->width(), 200);
  EXPECT_EQ(pill->position(), overlayPlace(QGuiApplication::primaryScreen()->availableGeometry(), pill->size()))
      << "grows about its middle";
}

// With the mouse, which is all that the pill has.
TEST_F(WindowsTest, PillIsWorkedByClicks) {
  f.change([](AppStateData& data) { data.showRecordingDialog = true; });
  f.change([](AppStateData& data) { data.recordingState.kind = RecordingState::Recording{}; });
  window = f.interface->overlayWindow().window();
  const auto click = [&](const char* name) {
    QQuickItem* const item = name ? itemNamed(window, QString::fromUtf8(name)) : nullptr;
    EXPECT_EQ(item != nullptr, name != nullptr);
    const QPointF place = item ? item->mapToScene(item->boundingRect().center()) : QPointF(20, 20);  // the ground
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
  f.change([](AppStateData& data) { data.lastPaste = PasteOutcome::typedElsewhere; });
  click("Paste here");
  EXPECT_EQ(f.pastesHere, 1);
  click("Send to A text editor of ma…");
  EXPECT_EQ(f.sends, 1);
  for (const char* name : {"Paste here", "Send to A text editor of ma…"}) {
    const QQuickItem* const button = itemNamed(window, QString::fromUtf8(name));
    ASSERT_NE(button, nullptr);
    const QRectF place = button->mapRectToScene(button->boundingRect());
    EXPECT_TRUE(QRectF(150, 0, window->width() - 150, window->height()).contains(place)) << name;
  }
  f.isTextOnClipboard = false;
  f.change([](AppStateData& data) { data.errorMessage = QStringLiteral("x"); });
  click("Copy");
  EXPECT_EQ(f.copied.size(), 1);
  EXPECT_TRUE(f.state.data().showRecordingDialog) << "until it was seen that it is copied";
  click(nullptr);
  EXPECT_FALSE(f.state.data().showRecordingDialog);
}

TEST_F(WindowsTest, LocalKeysAnswerTheQuestion) {
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

TEST_F(WindowsTest, MainWindowRemembersItsPlaceAndPage) {
  f.interface->showWindow(QStringLiteral("models"));
  f.settle();
  f.interface->mainWindow().window()->setGeometry(20, 30, 730, 500);
  f.settle();
  f.interface->hideWindow();
  const QString place = QStringLiteral("mainWindowPlace"), kept = f.defaults.value(place).toString();
  EXPECT_EQ(kept, QStringLiteral("20 30 730 500"));
  for (const QString& stored : {kept, QStringLiteral("9999 9999 730 500"), QStringLiteral("1 2 3"),
                                QStringLiteral("a b c d"), QStringLiteral("-50 -900 100 100")}) {
    f.defaults.setValue(place, stored);
    DesktopQml qml(false, Logging());
    MainWindow second(qml, f.state, f.defaults);
    for (const QString& page : {QStringLiteral("history"), QStringLiteral("models")})
      second.addPage({page, QStringLiteral("sidebar.") + page, page, QStringLiteral("EmptyNote")});
    EXPECT_EQ(second.page(), QStringLiteral("models"));
    const QRect geometry = second.window()->geometry();
    EXPECT_GE(geometry.width(), 720);
    EXPECT_GE(geometry.height(), 480);
    EXPECT_TRUE(stored != kept || geometry == QRect(20, 30, 730, 500));
  }
}

TEST_F(WindowsTest, HistoryIsWorkedByKeyboard) {
  ASSERT_TRUE(open(QStringLiteral("models")));
  press(f, Qt::Key_F, Qt::ControlModifier);
  EXPECT_EQ(f.interface->mainWindow().page(), QStringLiteral("history"));
  search(QStringLiteral("figures"));
  EXPECT_EQ(f.interface->history().totalCount(), 1);
  press(f, Qt::Key_Down);
  press(f, Qt::Key_C, Qt::ControlModifier);
  EXPECT_TRUE(f.copied.value(0).startsWith(QStringLiteral("The quarterly figures")));
  // Delete asks first, and the answer at hand is no.
  press(f, Qt::Key_Delete);
  EXPECT_EQ(focused(f), QStringLiteral("Cancel"));
  EXPECT_TRUE(enter().startsWith(QStringLiteral("The quarterly figures"))) << "back in its row";
  EXPECT_EQ(f.store->countTranscripts(), 5);
  // Escape: first the search, then the window.
  press(f, Qt::Key_Escape);
  search({});
  EXPECT_EQ(f.interface->history().totalCount(), 5);
  EXPECT_TRUE(f.interface->isWindowVisible());
  press(f, Qt::Key_Escape);
  EXPECT_FALSE(f.interface->isWindowVisible());
}

TEST_F(WindowsTest, FirstRunIsWorkedByKeyboard) {
  f.state.update([](AppStateData& data) { data.showOnboarding = true; });
  ASSERT_TRUE(open());
  ASSERT_TRUE(f.settleUntil([&] { return f.interface->firstRun()->isActive(); }));
  f.speak();
  EXPECT_TRUE(f.interface->microphone().hasHeard());
  EXPECT_EQ(focused(f), QStringLiteral("Continue")) << "at hand from the start";
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
  EXPECT_EQ(enter(), QStringLiteral("Field to dictate into")) << "where the text goes";
  EXPECT_EQ(f.trials, 1);
  EXPECT_TRUE(f.interface->isTryingDictation());
  // Escape puts the window away; the first run is still to be finished.
  press(f, Qt::Key_Escape);
  EXPECT_FALSE(f.interface->isWindowVisible());
  EXPECT_FALSE(f.state.data().hasCompletedOnboarding);
  ASSERT_TRUE(open());
  ASSERT_TRUE(tabTo(f, QStringLiteral("Finish")));
  press(f, Qt::Key_Return);
  EXPECT_TRUE(f.state.data().hasCompletedOnboarding);
  press(f, Qt::Key_Comma, Qt::ControlModifier);
  EXPECT_EQ(f.interface->mainWindow().page(), QStringLiteral("settings"));
}

TEST_F(WindowsTest, SettingsAreWorkedByKeyboard) {
  ASSERT_TRUE(open(QStringLiteral("settings")));
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
  ASSERT_TRUE(tabTo(f, QStringLiteral("Start when you log in")));
  press(f, Qt::Key_Space);
  EXPECT_FALSE(f.settings.effectiveValue(QStringLiteral("launchAtLogin")).toBool());
}

TEST_F(WindowsTest, ModesAndWordsAreWorkedByKeyboard) {
  ASSERT_TRUE(open(QStringLiteral("modes")));
  ASSERT_TRUE(tabTo(f, QStringLiteral("New mode")));
  EXPECT_EQ(enter(), QStringLiteral("Name"));
  EXPECT_GE(expectNames(window, "mode editor"), 6);
  type(f, QStringLiteral("Default"));
  press(f, Qt::Key_Return);
  EXPECT_EQ(f.interface->modes().count(), 2) << "the name is taken";
  press(f, Qt::Key_A, Qt::ControlModifier);
  type(f, QStringLiteral("Letters"));
  EXPECT_EQ(enter(), QStringLiteral("New mode")) << "where the editor came from";
  EXPECT_EQ(f.interface->modes().count(), 3);
  // The list is one stop, and its buttons are those of the current row.
  press(f, Qt::Key_Tab);
  EXPECT_TRUE(focused(f).startsWith(QStringLiteral("Default.")));
  press(f, Qt::Key_End);
  EXPECT_TRUE(focused(f).startsWith(QStringLiteral("Letters.")));
  EXPECT_EQ(enter(), QStringLiteral("Name"));
  press(f, Qt::Key_Escape);
  EXPECT_TRUE(focused(f).startsWith(QStringLiteral("Letters."))) << "the row that was edited";
  // Delete asks first, and the answer at hand is no.
  ASSERT_TRUE(tabTo(f, QStringLiteral("Delete the mode Letters")));
  EXPECT_EQ(enter(), QStringLiteral("Cancel"));
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
}

// What people call their modes and words, and what they say, is nobody's markup.
TEST_F(WindowsTest, TextIsShownAsItIs) {
  f.store->addVocabularyItem(QStringLiteral("<img src=\"file:///x\">"));
  ASSERT_TRUE(open());
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

// What people drop on the window is transcribed, whatever page is open.
TEST_F(WindowsTest, TakesFilesThatAreDropped) {
  ASSERT_TRUE(open(QStringLiteral("settings")));
  f.fileRoad.isHolding = true;
  QFile file(f.folder.filePath(QStringLiteral("talk <b>.mp3")));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("sound") == 5);
  file.close();
  FakeMediaFile sound;
  sound.duration = 12;
  const QString copy = QStringLiteral("recordings/imported_%1_talk <b>.mp3").arg(f.clock.now().toSecsSinceEpoch());
  for (const QString& path : {file.fileName(), f.folder.filePath(copy)}) f.mediaReaders.files[path] = sound;

  const auto drop = [&](const QMimeData& data) {
    const QPoint place(window->width() / 2, window->height() / 2);
    QDragEnterEvent enter(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &enter);
    QDropEvent event(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QDragLeaveEvent leave;
    QCoreApplication::sendEvent(window, enter.isAccepted() ? static_cast<QEvent*>(&event) : &leave);
    f.settle();
    return enter.isAccepted();
  };
  QMimeData words, files;
  words.setText(QStringLiteral("words"));
  EXPECT_FALSE(drop(words));
  files.setUrls({QUrl::fromLocalFile(file.fileName())});
  EXPECT_TRUE(drop(files));
  EXPECT_EQ(f.interface->mainWindow().page(), QStringLiteral("files"));
  ASSERT_TRUE(f.settleUntil([&] { return f.fileRoad.audioPaths.size() == 1; }));
  f.fileRoad.onProgress(1);
  f.executor.advance(400ms);
  f.settle();
  EXPECT_NE(itemNamed(window, QStringLiteral("talk <b>.mp3: Transcribing… 85 %")), nullptr);
  EXPECT_GE(expectNames(window, "files"), 6);
  DesktopFixture::keepPicture(window, QStringLiteral("files-en-light"));
  ASSERT_TRUE(tabTo(f, QStringLiteral("Cancel talk <b>.mp3")));
  EXPECT_TRUE(enter().startsWith(QStringLiteral("talk <b>.mp3"))) << "the row keeps the keyboard";
  ASSERT_TRUE(f.settleUntil([&] { return !f.interface->files()->isWorking(); }));
  f.fileRoad.isHolding = false;
  ASSERT_TRUE(tabTo(f, QStringLiteral("Try again: talk <b>.mp3")));
  press(f, Qt::Key_Return);
  ASSERT_TRUE(f.settleUntil([&] {
    f.executor.advance(100ms);
    return f.interface->mainWindow().page() == QLatin1String("history");
  })) << "where the text is";
}

// Alerts are dialogs, and closing one is an answer too.
TEST_F(WindowsTest, AlertsHaveTheirButtons) {
  ASSERT_TRUE(open());
  f.change([](AppStateData& data) {
    data.missingAPIKeys = {{MissingAPIKey::Offline{}}};
    data.showAPIKeyAlert = true;
  });
  QQuickWindow* const dialog = f.interface->alertWindow().window();
  ASSERT_NE(dialog, nullptr);
  EXPECT_TRUE(dialog->isVisible());
  EXPECT_EQ(dialog->title(), QStringLiteral("Internet connection required"));
  EXPECT_EQ(expectNames(dialog, "alert"), 2);
  DesktopFixture::keepPicture(dialog, QStringLiteral("alert-en-light"));
  const QQuickItem* const button = itemNamed(dialog, QStringLiteral("Open Modes"));
  ASSERT_NE(button, nullptr);
  QTest::mouseClick(dialog, Qt::LeftButton, Qt::NoModifier,
                    button->mapToScene(button->boundingRect().center()).toPoint());
  f.settle();
  EXPECT_FALSE(dialog->isVisible());
  EXPECT_FALSE(f.state.data().showAPIKeyAlert);
  EXPECT_EQ(f.interface->mainWindow().page(), QStringLiteral("modes"));
  QString answer;
  f.interface->alerts().show({QStringLiteral("One"), QStringLiteral("Two"), QStringLiteral("Yes"), QStringLiteral("No"),
                              [&] { answer = QStringLiteral("yes"); }, [&] { answer = QStringLiteral("no"); }});
  f.settle();
  dialog->close();
  f.settle();
  EXPECT_EQ(answer, QStringLiteral("no"));
}

TEST(TrayIconTest, CopiesTheLastText) {
  for (const bool hasHistory : {true, false}) {
    DesktopFixture f(QStringLiteral("en"), hasHistory, true);
    QAction* const copy = f.interface->tray()->menu().actions()[3];
    EXPECT_EQ(copy->text(), QStringLiteral("Copy last text"));
    EXPECT_EQ(copy->isEnabled(), hasHistory);
    copy->trigger();
    ASSERT_EQ(f.copied.size(), hasHistory ? 1 : 0);
    EXPECT_EQ(f.copied.value(0).startsWith(QStringLiteral("Let's move the quarterly review")), hasHistory);
  }
}

TEST(TrayIconTest, OffersToTranscribeWhatFailedOnceMore) {
  DesktopFixture f(QStringLiteral("en"), true, true);
  QAction* const again = f.interface->tray()->menu().actions()[4];
  EXPECT_FALSE(again->isVisible());
  const TranscriptPtr failed = f.store->fetchTranscriptsWithStatus(TranscriptStatus::failed)[0];
  f.change([&](AppStateData& data) { data.lastFailedTranscript = failed->id; });
  EXPECT_TRUE(again->isVisible());
  again->trigger();
  f.settle();
  EXPECT_EQ(f.interface->mainWindow().page(), QStringLiteral("history"));
  EXPECT_EQ(f.retriedPaths, QStringList{*failed->audioFilePath});
  failed->status = QStringLiteral("completed");
  failed->failedReason.reset();
  f.store->save();
  f.settle();
  EXPECT_FALSE(again->isVisible());
}

TEST(TrayIconTest, OffersTheModes) {
  DesktopFixture f(QStringLiteral("en"), true, true);
  TrayIcon* const tray = f.interface->tray();
  ASSERT_NE(tray, nullptr);
  const auto modes = [tray] { return tray->menu().actions()[2]->menu()->actions(); };
  ASSERT_EQ(modes().size(), 2);
  EXPECT_EQ(modes()[1]->text(), QStringLiteral("E-mail && notes"));
  modes()[1]->trigger();
  EXPECT_EQ(f.state.data().selectedModeName, QStringLiteral("E-mail & notes"));
  f.settle();
  EXPECT_TRUE(modes()[1]->isChecked());
  EXPECT_EQ(tray->toolTip(), QStringLiteral("Quillmere: Ready. Mode: E-mail & notes"));

  // The state is seen without colours too.
  const auto shape = [](AppStateViewModel::TrayState state) {
    return TrayIcon::icon(state, ThemeColors::light()).pixmap(22).toImage().convertToFormat(QImage::Format_Alpha8);
  };
  EXPECT_NE(shape(AppStateViewModel::TrayState::ready), shape(AppStateViewModel::TrayState::unable));
}

TEST(DesktopNoticesTest, NoticesWaitForTheInterface) {
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

}  // namespace
}  // namespace quillmere
