#include <gtest/gtest.h>

#include <QImage>
#include <QJsonDocument>
#include <QSet>

#include "e2e/Application.h"
#include "e2e/Eventually.h"
#include "e2e/Microphone.h"
#include "e2e/TextField.h"
#include "e2e/Tool.h"
#include "support/Files.h"

namespace quillmere {
namespace {

// The whole screen, kept with the test's output.
QImage picture(const QString& name) {
  const QString folder = qEnvironmentVariable("QUILLMERE_BUILD_DIR") + "/test-output/e2e";
  QDir().mkpath(folder);
  const QString path = folder + '/' + name + ".png";
  Tool::run("import", {"-window", "root", path});
  return QImage(path);
}

int colors(const QImage& image, const QRect& area) {
  QSet<QRgb> found;
  for (int y = area.top(); y <= area.bottom(); ++y)
    for (int x = area.left(); x <= area.right(); ++x) found.insert(image.pixel(x, y));
  return int(found.size());
}

// Where the pill stands: below the window with the keyboard, which is in the middle of the screen of 1600 x 1000.
const QRect pill(720, 608, 160, 20);

bool windowIsShown() {
  return Tool::run("wmctrl", {"-l"}).text().contains("Quillmere");
}

TEST(PicturesTest, ThePillShowsWhatHappensAndLeavesTheKeyboardAlone) {
  Application application;
  ASSERT_TRUE(application.start({"--hidden"}));
  TextField field(TextField::Kind::qtEditor);
  ASSERT_TRUE(field.isReady());
  const QString active = Tool::run("xdotool", {"getactivewindow"}).text();
  EXPECT_EQ(colors(picture("nothing"), pill), 1);
  application.toggle();
  ASSERT_TRUE(application.waitForState("recording"));
  Microphone microphone;
  microphone.start();
  EXPECT_TRUE(eventually([] { return colors(picture("pill-recording"), pill) > 4; }));
  EXPECT_EQ(Tool::run("xdotool", {"getactivewindow"}).text(), active);
  while (microphone.isSpeaking()) QThread::msleep(50);
  application.toggle();
  ASSERT_TRUE(eventually([&] { return application.state() == "transcribing"; }));
  EXPECT_TRUE(eventually([] { return colors(picture("pill-transcribing"), pill) > 4; }));
  ASSERT_TRUE(application.waitForState("idle"));
  EXPECT_TRUE(eventually([] { return colors(picture("nothing-again"), pill) == 1; }));
  EXPECT_EQ(Tool::run("xdotool", {"getactivewindow"}).text(), active);
}

TEST(PicturesTest, TheWindowOpensOnlyWhereItIsWantedAndCommandsDriveTheRest) {
  Application application;
  ASSERT_TRUE(application.start({"--hidden"}));
  EXPECT_FALSE(eventually([] { return windowIsShown(); }, std::chrono::milliseconds(700)));
  QProcess second;
  second.start(Application::program("quillmere-desktop"), QStringList());
  ASSERT_TRUE(second.waitForFinished(20000));
  EXPECT_EQ(second.exitCode(), 0);
  EXPECT_TRUE(application.isRunning());
  EXPECT_EQ(Application::command({"show"}).code, 0);
  EXPECT_TRUE(eventually([] { return windowIsShown(); }));
  QThread::msleep(500);  // until it has drawn itself
  EXPECT_GT(colors(picture("window"), QRect(400, 300, 800, 400)), 8);

  EXPECT_EQ(Application::command({"toggle"}).code, 0);
  ASSERT_TRUE(application.waitForState("recording"));
  const auto status = QJsonDocument::fromJson(Application::command({"status", "--json"}).out);
  EXPECT_EQ(status["state"].toString(), "recording");
  EXPECT_EQ(Application::command({"cancel"}).code, 0);
  ASSERT_TRUE(application.waitForState("idle"));
  EXPECT_TRUE(Application::history().isEmpty());
  EXPECT_EQ(Application::command({"quit"}).code, 0);
  EXPECT_TRUE(eventually([&] { return !application.isRunning(); }));
}

TEST(PicturesTest, AFreshInstallationOpensTheFirstRun) {
  Application application;
  writeFile(qEnvironmentVariable("DESKTOP_FOLDER") + "/config/quillmere/quillmere.conf");
  ASSERT_TRUE(application.start());
  EXPECT_TRUE(eventually([] { return windowIsShown(); }));
  QThread::msleep(1500);  // the first run comes half a second behind the window
  const QImage screen = picture("first-run");
  EXPECT_GT(colors(screen, QRect(500, 250, 600, 250)), 8);
  EXPECT_EQ(colors(screen, QRect(335, 300, 110, 400)), 1) << "the pages' sidebar would stand here";
}

}  // namespace
}  // namespace quillmere
