#include <gtest/gtest.h>
#include <signal.h>

#include <QDir>
#include <QFileInfo>

#include "e2e/Application.h"
#include "e2e/Eventually.h"
#include "e2e/Keys.h"
#include "e2e/Microphone.h"
#include "e2e/TextField.h"
#include "e2e/Tool.h"
#include "support/WordErrorRate.h"
#include "support/XvfbServer.h"

namespace quillmere {
namespace {

QString moduleWithName(const QString& name) {
  for (const QString& line : Tool::run("pactl", {"list", "short", "modules"}).text().split('\n'))
    if (line.contains(name)) return line.section('\t', 0, 0);
  return {};
}

// A second microphone that can be unplugged: the sink to speak into and the source that hears it.
class PluggedMicrophone {
 public:
  PluggedMicrophone() {
    sink_ = Tool::run("pactl", {"load-module", "module-null-sink", "sink_name=plugged", "norewinds=1", "rate=48000",
                                "channels=1"})
                .text();
    Tool::run("pactl", {"load-module", "module-remap-source", "source_name=plugged_mic", "master=plugged.monitor",
                        "source_properties=device.bus=usb"});
    Tool::run("pactl", {"set-default-source", "plugged_mic"});
  }
  ~PluggedMicrophone() {
    unplug();
    Tool::run("pactl", {"set-default-source", "virtual_mic"});
  }
  void unplug() {
    if (sink_.isEmpty()) return;
    Tool::run("pactl", {"unload-module", sink_});
    sink_.clear();
  }

 private:
  QString sink_;
};

TEST(FaultsTest, AMicrophoneUnpluggedInTheMiddleKeepsWhatItHeard) {
  PluggedMicrophone plugged;
  Application application;
  ASSERT_TRUE(application.start());
  TextField field(TextField::Kind::qtLine);
  ASSERT_TRUE(field.isReady());
  application.toggle();
  ASSERT_TRUE(application.waitForState("recording"));
  const QString path = qEnvironmentVariable("DESKTOP_FOLDER") + "/plugged.wav";
  {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(Microphone::wave(SpeechClip::pcm().left(16000 * 2 * 3)));
  }
  Tool::run("paplay", {"-d", "plugged", path});
  plugged.unplug();
  ASSERT_TRUE(application.waitForState("idle"));
  ASSERT_TRUE(eventually([&] { return !Application::history().isEmpty(); }));
  const auto rows = Application::history();
  EXPECT_EQ(rows[0]["status"].toString(), "completed");
  EXPECT_GE(rows[0]["durationSeconds"].toDouble(), 2.5);
  EXPECT_TRUE(wordsOf(rows[0]["text"].toString()).contains("americans")) << rows[0]["text"].toString().toStdString();
  EXPECT_FALSE(application.status()["notice"].toString().isEmpty());
}

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

struct KillCase {
  const char* name;
  const char* stateAtKill;
  bool isByDisplay = false;  // the X server dies, and the application with it
};
void PrintTo(const KillCase& c, std::ostream* out) {
  *out << c.name;
}

class KilledApplication : public testing::TestWithParam<KillCase> {};

TEST_P(KilledApplication, GivesTheRecordingBackAtTheNextStart) {
  Application application;
  const QByteArray display = qgetenv("DISPLAY");
  const auto otherDisplay = GetParam().isByDisplay ? std::make_unique<XvfbServer>() : nullptr;
  if (otherDisplay) qputenv("DISPLAY", otherDisplay->displayName().toLatin1());
  const bool isStarted = application.start();
  qputenv("DISPLAY", display);
  ASSERT_TRUE(isStarted);
  application.toggle();
  ASSERT_TRUE(application.waitForState("recording"));
  Microphone microphone;
  microphone.speak();
  if (GetParam().stateAtKill != std::string("recording")) {
    application.toggle();
    ASSERT_TRUE(eventually([&] { return application.state() == GetParam().stateAtKill; }))
        << application.state().toStdString();
  }
  if (otherDisplay) {
    otherDisplay->kill();
    ASSERT_TRUE(eventually([&] { return !application.isRunning(); }));
  } else {
    application.kill();
  }

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
INSTANTIATE_TEST_SUITE_P(Stages, KilledApplication,
                         testing::Values(KillCase{"WhileRecording", "recording"},
                                         KillCase{"WhileTranscribing", "transcribing"},
                                         KillCase{"ByItsDisplay", "recording", true}),
                         [](const auto& info) { return info.param.name; });

TEST(FaultsTest, KilledWhilePastingKeepsTheTextInTheHistory) {
  Application application;
  ASSERT_TRUE(application.start());
  TextField field(TextField::Kind::qtLine);
  ASSERT_TRUE(field.isReady());
  ::kill(pid_t(field.processId()), SIGSTOP);  // a target that never fetches
  application.toggle();
  ASSERT_TRUE(application.waitForState("recording"));
  Microphone microphone;
  microphone.speak();
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
  application.toggle();
  ASSERT_TRUE(application.waitForState("recording"));
  Microphone().speak();
  ASSERT_TRUE(QDir(qEnvironmentVariable("HOME") + "/Documents/quillmere/recordings").removeRecursively());
  application.toggle();
  ASSERT_TRUE(application.waitForState("idle"));
  ASSERT_TRUE(eventually([&] { return !Application::history().isEmpty(); }));
  const QJsonObject row = Application::history()[0];
  EXPECT_EQ(row["status"].toString(), "completed") << row["error"].toString().toStdString();
  EXPECT_TRUE(wordsOf(row["text"].toString()).contains("americans")) << row["text"].toString().toStdString();
}

TEST(FaultsTest, WithoutAMicrophoneTheUserGetsOneClearSentence) {
  Tool::run("pactl", {"unload-module", moduleWithName("virtual_mic")});
  Application application;
  ASSERT_TRUE(application.start());
  application.toggle();
  EXPECT_TRUE(eventually([&] { return !application.status()["error"].toString().isEmpty(); }));
  EXPECT_EQ(application.state(), "idle");
  EXPECT_EQ(application.status()["error"].toString(), "No microphone is connected.");
  EXPECT_TRUE(Application::history().isEmpty());
  Tool::run("pactl", {"load-module", "module-remap-source", "source_name=virtual_mic", "master=mic_feed.monitor",
                      "source_properties=\"device.description='Virtual USB Microphone'\""});
  Tool::run("pactl", {"set-default-source", "virtual_mic"});
}

}  // namespace
}  // namespace quillmere
