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
  static Breadcrumb crumb(int n) { return {QString::number(n), "audio.toggle", ReportLevel::info, {}}; }
  QList<QJsonObject> written() const {
    QFile file(home.path() + "/reports.log");
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

TEST_F(LocalCrashReporterTest, KeepsTheLastBreadcrumbsAndEventsFromTheStartOn) {
  reporter.addBreadcrumb(crumb(9));
  reporter.capture({});
  EXPECT_TRUE(reporter.events().isEmpty() && written().isEmpty());
  reporter.start({});
  for (int i = 0; i < 5; ++i) reporter.addBreadcrumb(crumb(i));
  for (int i = 0; i < 4; ++i) {
    CrashEvent event;
    event.message = QString::number(i);
    reporter.capture(event);
  }
  ASSERT_EQ(reporter.breadcrumbs().size(), 3);
  EXPECT_EQ(reporter.breadcrumbs().first().message, "2");
  ASSERT_EQ(reporter.events().size(), 2);
  EXPECT_EQ(reporter.events().first().message, "2");
  EXPECT_EQ(reporter.events().last().breadcrumbs.size(), 3);
  EXPECT_EQ(written().size(), 4);
}

TEST_F(LocalCrashReporterTest, WritesWhatTheFilterLeavesWithTheScopesTags) {
  CrashReporterOptions options;
  options.release = "quillmere@1";
  options.environment = "production";
  options.tags = {{"environment", "production"}, {"stage", "scope"}};
  options.beforeSend = [](CrashEvent event) {
    EXPECT_EQ(event.breadcrumbs.size(), 1);  // the filter sees them
    event.breadcrumbs.clear();
    event.extra.remove("secret");
    return event;
  };
  reporter.start(options);
  reporter.addBreadcrumb(crumb(1));
  CrashEvent event;
  event.message = "line\nbreak";
  event.errorCode = 7;
  event.tags = {{"stage", "event"}};
  event.extra = {{"secret", 1}, {"kept", 2}};
  reporter.capture(event);
  ASSERT_EQ(written().size(), 1);
  const QJsonObject line = written()[0];
  EXPECT_EQ(line.value(u"time").toString(), "2024-05-01T12:00:00.000Z");
  EXPECT_EQ(line.value(u"message").toString(), "line\nbreak");
  EXPECT_EQ(line.value(u"errorCode").toInt(), 7);
  EXPECT_EQ(line.value(u"release").toString(), "quillmere@1");
  EXPECT_EQ(line.value(u"tags").toObject(), (QJsonObject{{"environment", "production"}, {"stage", "event"}}));
  EXPECT_EQ(line.value(u"extra").toObject(), (QJsonObject{{"kept", 2}}));
  EXPECT_TRUE(line.value(u"breadcrumbs").toArray().isEmpty());
}

}  // namespace
}  // namespace quillmere
