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

TEST(DictateTest, EndsWithEnterWithSilenceAndWithItsTime) {
  const Application home;
  TextField field(TextField::Kind::qtLine);
  ASSERT_TRUE(field.isReady());
  for (const QStringList& options : {QStringList{"-q", "--no-history"},
                                     {"-q", "--silence", "1", "--no-history"},
                                     {"-q", "--seconds", "5", "--no-history", "--type"},
                                     {"--seconds", "5", "--timings"}}) {
    SCOPED_TRACE(options.join(' ').toStdString());
    QProcess process;
    process.start(Application::program("quillmere"), QStringList("dictate") + options);
    ASSERT_TRUE(process.waitForStarted());
    Microphone().speak();
    if (!options.contains("--silence") && !options.contains("--seconds")) process.write("\n");
    ASSERT_TRUE(process.waitForFinished(60000));
    const QByteArray printed = process.readAllStandardOutput(), said = process.readAllStandardError();
    EXPECT_EQ(process.exitCode(), 0) << said.toStdString();
    const QString text = options.contains("--type") ? field.eventualText() : QString::fromUtf8(printed);
    EXPECT_TRUE(wordsOf(text).contains("americans")) << text.toStdString();
    if (options.contains("--no-history")) {
      EXPECT_TRUE(Application::history().isEmpty());
      EXPECT_EQ(recordings(), QStringList());
    } else {
      EXPECT_TRUE(said.contains("stop to text")) << said.toStdString();
    }
  }
  const auto rows = Application::history();
  ASSERT_EQ(rows.size(), 1);
  EXPECT_EQ(rows[0]["status"].toString(), "completed");
}

TEST(DictateTest, ASignalKeepsTheRecordingForLater) {
  const struct {
    int signal;
    QStringList filter;
    const char* status;
  } cases[] = {{SIGINT, {"--discarded"}, "discarded"}, {SIGHUP, {}, "failed"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.status);
    const Application home;
    QProcess process;
    process.start(Application::program("quillmere"), {"dictate", "-q"});
    ASSERT_TRUE(process.waitForStarted());
    ASSERT_TRUE(eventually([] { return !recordings().isEmpty(); }));
    Microphone().speak(1.6);
    ::kill(pid_t(process.processId()), c.signal);
    ASSERT_TRUE(process.waitForFinished(20000));
    EXPECT_EQ(process.exitCode(), 130);
    const auto rows = Application::history(c.filter);
    ASSERT_EQ(rows.size(), 1);
    EXPECT_EQ(rows[0]["status"].toString(), c.status);
    EXPECT_EQ(Application::history().isEmpty(), c.signal == SIGINT);
    EXPECT_EQ(recordings().size(), 1);
  }
}

TEST(DoctorTest, FindsTheDesktopWell) {
  const Application home;
  Microphone microphone;
  microphone.start();
  const auto result = Application::command({"doctor", "--json"});
  EXPECT_EQ(result.code, 0) << result.out.toStdString();
  const auto found = verdicts(result.out);
  EXPECT_TRUE(found.contains("microphone"));
  for (auto check = found.begin(); check != found.end(); ++check)
    EXPECT_EQ(check.value(), "ok") << check.key().toStdString();
}

TEST(DoctorTest, SaysWhatIsMissing) {
  const Application home;
  const struct {
    const char *variable, *value, *check, *verdict;
    int code;
  } cases[] = {{"PULSE_SERVER", "unix:/nowhere", "sound", "failed", 1},
               {"DISPLAY", "", "display", "warning", 0},
               {"XDG_DATA_HOME", "/tmp/quillmere-empty-home", "model", "failed", 1}};
  for (const auto& c : cases) {
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
    process.start(Application::program("quillmere-desktop"), arguments);
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

}  // namespace
}  // namespace quillmere
