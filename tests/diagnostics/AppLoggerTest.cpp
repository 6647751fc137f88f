#include "diagnostics/AppLogger.h"

#include "support/FakeCrashReporter.h"
#include "support/FakeLogArchive.h"

namespace quillmere {
namespace {

using Operation = AppLogger::TranscriptionOperation;
using Store = AppLogger::CoreDataOperation;

class AppLoggerTest : public ::testing::Test {
 protected:
  void start() {
    DeploymentValues values;
    values.crashReportDsn = "dsn";
    logger.startCrashReporting(values);
  }
  static AnyError failure(int code = 5) { return PlatformError{"sqlite", code, "disk gone"}; }

  FakeCrashReporter reporter;
  FakeLogArchive archive;
  FixedClock clock{QDateTime(QDate(2024, 5, 1), QTime(12, 0), Qt::UTC)};
  bool isOn = true;
  double random = 0.5;
  AppLogger logger{Logging(), reporter, archive, clock, [this] { return isOn; }, [this] { return random; }};
};

TEST_F(AppLoggerTest, OnlyAFailedLoadIsReportedWithoutTheUsersLeave) {
  start();
  for (const bool on : {true, false}) {
    isOn = on;
    reporter.events.clear();
    reporter.breadcrumbs.clear();
    logger.addBreadcrumb({"one", "audio.toggle", ReportLevel::info, {}});
    logger.logCoreData({Store::StoreLoad{}}, failure());
    logger.logCoreData({Store::Save{}}, failure());
    logger.logTranscription({Operation::Failure{failure()}});
    logger.logAudio("Recorder stopped", failure());
    QStringList messages;
    for (const CrashEvent& event : reporter.events) messages += event.message;
    EXPECT_EQ(messages, on ? QStringList({"Failed to load persistent store", "Core Data save failed",
                                          "Transcription failed", "Recorder stopped"})
                           : QStringList({"Failed to load persistent store"}));
    EXPECT_EQ(reporter.breadcrumbs.size(), on ? 1 : 0);
  }
}

TEST_F(AppLoggerTest, ExpectedAudioConditionsAreNeverReported) {
  start();
  const auto platform = [](const char* domain, int code) {
    return AnyError(PlatformError{QString::fromLatin1(domain), code, "d"});
  };
  const std::pair<AnyError, bool> cases[] = {
      {AudioError{AudioError::Kind::recordingTooShort, {}}, false},
      {platform("Quillmere.AudioError", 1), false},
      {platform("Quillmere.AudioError", 2), true},
  };
  for (const auto& [error, isReported] : cases) {
    reporter.events.clear();
    logger.logAudio("Start", error);
    EXPECT_EQ(reporter.events.size(), isReported ? 1 : 0) << errorDomain(error).toStdString() << errorCode(error);
  }
}

TEST_F(AppLoggerTest, RecentLogsAreScrubbedLineByLine) {
  archive.write(clock.now().addSecs(-301), "too old");
  archive.write(clock.now().addSecs(-300), "open /home/ada/x");
  archive.write(clock.now(), "a@b.cd");
  EXPECT_EQ(logger.recentLogs(5, 2), "open /home/[REDACTED]/x\n[EMAIL_REDACTED]");
  archive.failure = PlatformError{"filesystem", 13, "Permission denied"};
  EXPECT_EQ(logger.recentLogs(5, 2), std::nullopt);
}

TEST_F(AppLoggerTest, AReportCarriesTheErrorTheCallersDataAndTheLogs) {
  start();
  archive.write(clock.now().addSecs(-301), "too old");
  archive.write(clock.now(), "line of /home/ada/");
  ReportOptions options;
  options.message = "Save failed";
  options.tags = {{"stage", "save"}};
  options.extra = {{"n", 3}, {"recent_logs", "overwritten"}};
  logger.captureError(failure(7), options);
  ASSERT_EQ(reporter.events.size(), 1);
  const CrashEvent& event = reporter.events[0];
  EXPECT_EQ(event.message, "Save failed");
  EXPECT_EQ(event.errorCode, 7);
  EXPECT_EQ(event.tags.value("stage"), "save");
  EXPECT_EQ(event.extra, (QVariantMap{{"n", 3}, {"recent_logs", "line of /home/[REDACTED]/"}}));
  EXPECT_EQ(event.fingerprint, QStringList({"{{ default }}", "Save failed", errorTypeName(failure())}));
}

TEST_F(AppLoggerTest, SamplingDrawsOnlyBelowOne) {
  start();
  struct Case {
    std::optional<double> rate;
    double drawn;
    bool goesOn;
  };
  for (const Case& each : {Case{std::nullopt, 0.99, true}, Case{1.0, 0.99, true}, Case{0.5, 0.5, true},
                           Case{0.5, 0.51, false}, Case{0.0, 0.0, false}}) {
    reporter.events.clear();
    random = each.drawn;
    ReportOptions options;
    options.sampleRate = each.rate;
    logger.captureError(failure(), options);
    EXPECT_EQ(reporter.events.size(), each.goesOn ? 1 : 0) << each.rate.value_or(-9) << " drawn " << each.drawn;
  }
}

TEST_F(AppLoggerTest, StartsOnceAndOnlyWithADsn) {
  logger.startCrashReporting({});
  DeploymentValues empty;
  empty.crashReportDsn = QString();
  logger.startCrashReporting(empty);
  logger.captureError(failure(), {});
  EXPECT_FALSE(reporter.isStarted());
  EXPECT_TRUE(reporter.events.isEmpty());
  EXPECT_EQ(archive.asked, 0);  // the log isn't read for nothing
  start();
  start();
  EXPECT_EQ(reporter.starts, 1);
  CrashEvent event;
  event.extra = {{"text", 1}};
  EXPECT_EQ(reporter.startedWith->beforeSend(event).extra.value("text"), "[redacted]");
}

}  // namespace
}  // namespace quillmere
