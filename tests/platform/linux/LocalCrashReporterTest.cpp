#include "platform/linux/LocalCrashReporter.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

namespace quillmere {
namespace {

class LocalCrashReporterTest : public ::testing::Test {
 protected:
  static Breadcrumb crumb(int n) { return {QString::number(n), QStringLiteral("audio.toggle"), ReportLevel::info, {}}; }
  QList<QJsonObject> written() const {
    QFile file(home.path() + QStringLiteral("/reports.log"));
    QList<QJsonObject> all;
    if (file.open(QIODevice::ReadOnly))
      for (const QByteArray& line : file.readAll().split('\n'))
        if (!line.isEmpty()) all += QJsonDocument::fromJson(line).object();
    return all;
  }

  QTemporaryDir home;
  FixedClock clock{QDateTime(QDate(2024, 5, 1), QTime(12, 0), Qt::UTC)};
  LocalCrashReporter reporter{{.folder = home.path(), .maxBreadcrumbs = 3, .maxEvents = 2}, clock, Logging()};
};

TEST_F(LocalCrashReporterTest, BeforeTheStartAReportGoesNowhere) {
  reporter.addBreadcrumb(crumb(1));
  reporter.capture({});
  EXPECT_FALSE(reporter.isStarted());
  EXPECT_TRUE(reporter.breadcrumbs().isEmpty());
  EXPECT_TRUE(reporter.events().isEmpty());
  EXPECT_TRUE(written().isEmpty());
}

TEST_F(LocalCrashReporterTest, KeepsTheLastBreadcrumbsAndEvents) {
  reporter.start({});
  for (int i = 0; i < 5; ++i) reporter.addBreadcrumb(crumb(i));
  for (int i = 0; i < 4; ++i) {
    CrashEvent event;
    event.message = QString::number(i);
    reporter.capture(event);
  }
  ASSERT_EQ(reporter.breadcrumbs().size(), 3);
  EXPECT_EQ(reporter.breadcrumbs().first().message, QStringLiteral("2"));
  ASSERT_EQ(reporter.events().size(), 2);
  EXPECT_EQ(reporter.events().first().message, QStringLiteral("2"));
  EXPECT_EQ(reporter.events().last().breadcrumbs.size(), 3);
  EXPECT_EQ(written().size(), 4);
}

TEST_F(LocalCrashReporterTest, WritesWhatTheFilterLeavesWithTheScopesTags) {
  CrashReporterOptions options;
  options.release = QStringLiteral("quillmere@1");
  options.environment = QStringLiteral("production");
  options.tags = {{QStringLiteral("environment"), QStringLiteral("production")},
                  {QStringLiteral("stage"), QStringLiteral("scope")}};
  options.beforeSend = [](CrashEvent event) {
    EXPECT_EQ(event.breadcrumbs.size(), 1);  // the filter sees them
    event.breadcrumbs.clear();
    event.extra.remove(QStringLiteral("secret"));
    return event;
  };
  reporter.start(options);
  reporter.addBreadcrumb(crumb(1));
  CrashEvent event;
  event.message = QStringLiteral("line\nbreak");
  event.errorCode = 7;
  event.tags = {{QStringLiteral("stage"), QStringLiteral("event")}};
  event.extra = {{QStringLiteral("secret"), 1}, {QStringLiteral("kept"), 2}};
  reporter.capture(event);
  ASSERT_EQ(written().size(), 1);
  const QJsonObject line = written()[0];
  EXPECT_EQ(line.value(u"time").toString(), QStringLiteral("2024-05-01T12:00:00.000Z"));
  EXPECT_EQ(line.value(u"message").toString(), QStringLiteral("line\nbreak"));
  EXPECT_EQ(line.value(u"errorCode").toInt(), 7);
  EXPECT_EQ(line.value(u"release").toString(), QStringLiteral("quillmere@1"));
  EXPECT_EQ(line.value(u"tags").toObject(), (QJsonObject{{QStringLiteral("environment"), QStringLiteral("production")},
                                                         {QStringLiteral("stage"), QStringLiteral("event")}}));
  EXPECT_EQ(line.value(u"extra").toObject(), (QJsonObject{{QStringLiteral("kept"), 2}}));
  EXPECT_TRUE(line.value(u"breadcrumbs").toArray().isEmpty());
}

}  // namespace
}  // namespace quillmere
