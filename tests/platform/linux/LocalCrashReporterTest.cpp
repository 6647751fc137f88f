#include "platform/linux/LocalCrashReporter.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

namespace quillmere {
namespace {

TEST(LocalCrashReporterTest, KeepsTheLastAndWritesAll) {
  QTemporaryDir home;
  FixedClock clock{QDateTime(QDate(2024, 5, 1), QTime(12, 0), Qt::UTC)};
  LocalCrashReporter reporter{{.folder = home.path(), .maxBreadcrumbs = 3, .maxEvents = 2}, clock, Logging()};
  CrashReporterOptions options;
  options.release = "quillmere@1";
  options.tags = {{"environment", "production"}};
  reporter.start(options);
  for (int i = 0; i < 4; ++i) {
    reporter.addBreadcrumb({QString::number(i), "audio.toggle", ReportLevel::info, {}});
    CrashEvent event;
    event.message = QString("line\n%1").arg(i);
    event.errorCode = 7;
    event.extra = {{"kept", 2}};
    reporter.capture(event);
  }
  ASSERT_EQ(reporter.breadcrumbs().size(), 3);
  EXPECT_EQ(reporter.breadcrumbs().first().message, "1");
  ASSERT_EQ(reporter.events().size(), 2);
  EXPECT_EQ(reporter.events().first().message, "line\n2");

  QFile file(home.filePath("reports.log"));
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  const QList<QByteArray> lines = file.readAll().trimmed().split('\n');
  ASSERT_EQ(lines.size(), 4);
  const QJsonObject line = QJsonDocument::fromJson(lines.last()).object();
  EXPECT_EQ(line.value(u"time").toString(), "2024-05-01T12:00:00.000Z");
  EXPECT_EQ(line.value(u"message").toString(), "line\n3");
  EXPECT_EQ(line.value(u"errorCode").toInt(), 7);
  EXPECT_EQ(line.value(u"release").toString(), "quillmere@1");
  EXPECT_EQ(line.value(u"tags").toObject(), (QJsonObject{{"environment", "production"}}));
  EXPECT_EQ(line.value(u"extra").toObject(), (QJsonObject{{"kept", 2}}));
  EXPECT_EQ(line.value(u"breadcrumbs").toArray().size(), 3);
}

}  // namespace
}  // namespace quillmere
