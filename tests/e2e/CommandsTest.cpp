#include <gtest/gtest.h>
#include <signal.h>

#include <QDir>
#include <QJsonDocument>

#include "e2e/Application.h"
#include "e2e/Eventually.h"
#include "e2e/Microphone.h"
#include "e2e/TextField.h"
#include "support/WordErrorRate.h"

namespace quillmere {
namespace {

QString program() {
  return qEnvironmentVariable("QUILLMERE_BUILD_DIR") + "/src/app/quillmere";
}

QStringList recordings() {
  return QDir(qEnvironmentVariable("HOME") + "/Documents/quillmere/recordings")
      .entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot);
}

QMap<QString, QString> verdicts(const QByteArray& json) {
  QMap<QString, QString> found;
  for (const QByteArray& line : json.split('\n')) {
    const QJsonObject check = QJsonDocument::fromJson(line).object();
    if (!check.isEmpty()) found.insert(check["check"].toString(), check["verdict"].toString());
  }
  return found;
}

TEST(DictateTest, PrintsWhatIsSpokenUntilTheTimeIsOver) {
  const Application home;
  Microphone microphone;
  microphone.start();
  const auto result = Application::command({"dictate", "--seconds", "5", "--timings"});
  EXPECT_EQ(result.code, 0) << result.err.toStdString();
  EXPECT_TRUE(wordsOf(QString::fromUtf8(result.out)).contains("fellow")) << result.out.toStdString();
  EXPECT_TRUE(result.err.contains("stop to text")) << result.err.toStdString();
  const auto rows = Application::history();
  ASSERT_EQ(rows.size(), 1);
  EXPECT_EQ(rows[0]["status"].toString(), "completed");
}

TEST(DictateTest, EndsWithEnterAndWithSilence) {
  const Application home;
  for (const QStringList& arguments :
       {QStringList{"dictate", "-q", "--no-history"}, {"dictate", "-q", "--silence", "1", "--no-history"}}) {
    SCOPED_TRACE(arguments.join(' ').toStdString());
    QProcess process;
    process.start(program(), arguments);
    ASSERT_TRUE(process.waitForStarted());
    Microphone microphone;
    microphone.speak();
    if (!arguments.contains("--silence")) process.write("\n");
    ASSERT_TRUE(process.waitForFinished(60000));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    EXPECT_TRUE(wordsOf(QString::fromUtf8(process.readAllStandardOutput())).contains("americans"));
  }
  EXPECT_TRUE(Application::history().isEmpty());
  EXPECT_EQ(recordings(), QStringList());
}

TEST(DictateTest, AnInterruptPutsTheRecordingAmongTheDiscarded) {
  const Application home;
  QProcess process;
  process.start(program(), {"dictate", "-q"});
  ASSERT_TRUE(process.waitForStarted());
  ASSERT_TRUE(eventually([] { return !recordings().isEmpty(); }));
  QThread::msleep(1200);
  ::kill(pid_t(process.processId()), SIGINT);
  ASSERT_TRUE(process.waitForFinished(20000));
  EXPECT_EQ(process.exitCode(), 130);
  EXPECT_TRUE(Application::history().isEmpty());
  const auto discarded = QJsonDocument::fromJson(Application::command({"history", "--discarded", "--json"}).out);
  EXPECT_EQ(discarded["status"].toString(), "discarded");
  EXPECT_EQ(recordings().size(), 1);
}

TEST(DictateTest, TheEndOfTheTerminalKeepsTheRecordingForLater) {
  const Application home;
  QProcess process;
  process.start(program(), {"dictate", "-q"});
  ASSERT_TRUE(process.waitForStarted());
  ASSERT_TRUE(eventually([] { return !recordings().isEmpty(); }));
  Microphone().speak(1.6);
  ::kill(pid_t(process.processId()), SIGHUP);
  ASSERT_TRUE(process.waitForFinished(20000));
  EXPECT_EQ(process.exitCode(), 130);
  const auto history = Application::history();
  ASSERT_EQ(history.size(), 1);
  EXPECT_EQ(history[0]["status"].toString(), "failed");
  EXPECT_EQ(recordings().size(), 1);
}

TEST(DictateTest, TypesIntoTheFieldWithTheKeyboard) {
  const Application home;
  TextField field(TextField::Kind::qtLine);
  ASSERT_TRUE(field.isReady());
  Microphone microphone;
  microphone.start();
  const auto result = Application::command({"dictate", "-q", "--seconds", "5", "--type"});
  EXPECT_EQ(result.code, 0) << result.err.toStdString();
  EXPECT_TRUE(wordsOf(field.eventualText()).contains("fellow"));
}

TEST(DoctorTest, FindsTheDesktopWell) {
  const Application home;
  Microphone microphone;
  microphone.start();
  const auto result = Application::command({"doctor", "--json"});
  EXPECT_EQ(result.code, 0) << result.out.toStdString();
  const auto found = verdicts(result.out);
  EXPECT_EQ(found.size(), 9);
  for (auto check = found.begin(); check != found.end(); ++check)
    EXPECT_EQ(check.value(), "ok") << check.key().toStdString();
}

TEST(DoctorTest, SaysWhatIsMissing) {
  const Application home;
  struct Case {
    const char* variable;
    const char* value;
    const char* check;
    const char* verdict;
    int code;
  };
  for (const Case& c :
       {Case{"PULSE_SERVER", "unix:/nowhere", "sound", "failed", 1}, Case{"DISPLAY", "", "display", "warning", 0},
        Case{"XDG_DATA_HOME", "/tmp/quillmere-empty-home", "model", "failed", 1}}) {
    SCOPED_TRACE(c.check);
    const bool wasSet = qEnvironmentVariableIsSet(c.variable);
    const QByteArray before = qgetenv(c.variable);
    qputenv(c.variable, c.value);
    qputenv("QUILLMERE_SOUND_SERVER_AUTOSTART", "0");
    const auto result = Application::command({"doctor", "--json"});
    wasSet ? qputenv(c.variable, before) : qunsetenv(c.variable);
    EXPECT_EQ(result.code, c.code) << result.out.toStdString() << result.err.toStdString();
    EXPECT_EQ(verdicts(result.out).value(c.check), c.verdict) << result.out.toStdString();
    EXPECT_EQ(verdicts(result.out).value("accessibility"), "ok") << result.out.toStdString();
  }
}

TEST(ControlTest, TheApplicationSaysThatItNeedsADisplay) {
  const Application home;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("DISPLAY", ":987");
  for (const auto& [arguments, code] : {std::pair<QStringList, int>{{}, 1}, {{"--version"}, 0}}) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(qEnvironmentVariable("QUILLMERE_BUILD_DIR") + "/src/app/quillmere-desktop", arguments);
    ASSERT_TRUE(process.waitForFinished(20000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), code);
    EXPECT_EQ(process.readAllStandardError().contains("graphical session"), code == 1);
  }
}

TEST(ControlTest, TellsWhenNobodyListens) {
  const Application home;
  for (const char* command : {"toggle", "cancel", "status", "show", "quit"}) {
    const auto result = Application::command({command});
    EXPECT_EQ(result.code, 1) << command;
    EXPECT_TRUE(result.err.contains("not running")) << result.err.toStdString();
  }
}

TEST(ControlTest, ASecondStartShowsTheFirstAndCancelThrowsAway) {
  Application application;
  ASSERT_TRUE(application.start({"--hidden"}));
  QProcess second;
  second.start(qEnvironmentVariable("QUILLMERE_BUILD_DIR") + "/src/app/quillmere-desktop", QStringList());
  ASSERT_TRUE(second.waitForFinished(20000));
  EXPECT_EQ(second.exitCode(), 0);
  EXPECT_TRUE(application.isRunning());

  EXPECT_EQ(Application::command({"toggle"}).code, 0);
  ASSERT_TRUE(application.waitForState("recording"));
  const auto status = QJsonDocument::fromJson(Application::command({"status", "--json"}).out).object();
  EXPECT_EQ(status["state"].toString(), "recording");
  EXPECT_EQ(Application::command({"cancel"}).code, 0);
  ASSERT_TRUE(application.waitForState("idle"));
  EXPECT_TRUE(Application::history().isEmpty());
  EXPECT_EQ(Application::command({"quit"}).code, 0);
  EXPECT_TRUE(eventually([&] { return !application.isRunning(); }));
}

}  // namespace
}  // namespace quillmere
