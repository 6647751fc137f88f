#include <gtest/gtest.h>
#include <signal.h>

#include <QDir>

#include "e2e/Application.h"
#include "e2e/Eventually.h"
#include "e2e/Microphone.h"
#include "e2e/TextField.h"
#include "e2e/Tool.h"
#include "support/WordErrorRate.h"
#include "support/XvfbServer.h"

namespace quillmere {
namespace {

TEST(FaultsTest, AfterTheSoundServerCameBackTheNextDictationWorks) {
  Application application;
  ASSERT_TRUE(application.start());
  TextField field(TextField::Kind::qtLine);
  ASSERT_TRUE(field.isReady());
  application.toggle();
  ASSERT_TRUE(application.waitForState("recording"));
  Microphone microphone;
  microphone.start();
  QThread::msleep(1800);
  Tool::run("pkill", {"-KILL", "-f", qEnvironmentVariable("DESKTOP_FOLDER") + "/sound.pa"});
  ASSERT_TRUE(application.waitForState("idle"));
  ASSERT_TRUE(eventually([&] { return !Application::history().isEmpty(); })) << "the cut-off recording was kept";

  QProcess server;
  server.setProgram("setsid");
  server.setArguments({qEnvironmentVariable("DESKTOP_FOLDER") + "/start-sound"});
  server.setStandardOutputFile(QProcess::nullDevice());
  server.setStandardErrorFile(QProcess::nullDevice());
  server.startDetached();
  ASSERT_TRUE(eventually([] { return Tool::run("pactl", {"get-default-source"}).text() == "virtual_mic"; }));
  ASSERT_TRUE(eventually([&] { return application.status()["microphone"].toString().contains("Virtual"); }));
  ASSERT_TRUE(application.dictate());
  const auto rows = Application::history();
  ASSERT_GE(rows.size(), 2);
  EXPECT_EQ(rows[0]["status"].toString(), "completed");
  EXPECT_LE(wordErrorRate(wordsOf(Microphone::shortWords), wordsOf(rows[0]["text"].toString())), 0.4);
}

TEST(FaultsTest, AKilledApplicationGivesTheRecordingBackAtTheNextStart) {
  const struct {
    const char* stateAtKill;
    bool isByDisplay;  // the X server dies, and the application with it
  } cases[] = {{"recording", false}, {"transcribing", false}, {"recording", true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.isByDisplay ? "display" : c.stateAtKill);
    Application application;
    const QByteArray display = qgetenv("DISPLAY");
    const auto otherDisplay = c.isByDisplay ? std::make_unique<XvfbServer>() : nullptr;
    if (otherDisplay) qputenv("DISPLAY", otherDisplay->displayName().toLatin1());
    const bool isStarted = application.start();
    qputenv("DISPLAY", display);
    ASSERT_TRUE(isStarted);
    ASSERT_TRUE(application.record());
    if (c.stateAtKill != std::string("recording")) application.toggle();
    ASSERT_TRUE(eventually([&] { return application.state() == c.stateAtKill; })) << application.state().toStdString();
    if (otherDisplay)
      otherDisplay->kill();
    else
      application.kill();
    ASSERT_TRUE(eventually([&] { return !application.isRunning(); }));

    ASSERT_TRUE(application.start());
    ASSERT_TRUE(eventually([&] { return !Application::history().isEmpty(); }));
    const auto rows = Application::history();
    ASSERT_EQ(rows.size(), 1);
    EXPECT_NE(rows[0]["status"].toString(), "completed");
    // What came back can be transcribed.
    const auto retry = Application::command({"history", "retry", rows[0]["id"].toString()});
    EXPECT_EQ(retry.code, 0) << retry.err.toStdString();
    EXPECT_TRUE(wordsOf(QString::fromUtf8(retry.out)).contains("americans")) << retry.out.toStdString();
  }
}

TEST(FaultsTest, KilledWhilePastingKeepsTheTextInTheHistory) {
  Application application;
  ASSERT_TRUE(application.start());
  TextField field(TextField::Kind::qtLine);
  ASSERT_TRUE(field.isReady());
  ::kill(pid_t(field.processId()), SIGSTOP);  // a target that never fetches
  ASSERT_TRUE(application.record());
  application.toggle();
  ASSERT_TRUE(eventually([&] {
    const auto rows = Application::history();
    return !rows.isEmpty() && rows[0]["status"].toString() == "completed";
  }));
  application.kill();
  ::kill(pid_t(field.processId()), SIGCONT);
  ASSERT_TRUE(application.start());
  const auto rows = Application::history();
  ASSERT_EQ(rows.size(), 1);
  EXPECT_TRUE(wordsOf(rows[0]["text"].toString()).contains("americans"));
}

TEST(FaultsTest, ARecordingsFolderThatVanishesInTheMiddleLosesNothing) {
  Application application;
  ASSERT_TRUE(application.start());
  ASSERT_TRUE(application.record());
  ASSERT_TRUE(QDir(qEnvironmentVariable("HOME") + "/Documents/quillmere/recordings").removeRecursively());
  application.toggle();
  ASSERT_TRUE(application.waitForState("idle"));
  ASSERT_TRUE(eventually([&] { return !Application::history().isEmpty(); }));
  const QJsonObject row = Application::history()[0];
  EXPECT_EQ(row["status"].toString(), "completed") << row["error"].toString().toStdString();
  EXPECT_TRUE(wordsOf(row["text"].toString()).contains("americans")) << row["text"].toString().toStdString();
}

}  // namespace
}  // namespace quillmere
