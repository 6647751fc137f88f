#include <QTemporaryDir>

#include "contract/Sides.h"
#include "platform/linux/LocalCrashReporter.h"
#include "support/FakeCrashReporter.h"

namespace quillmere {
namespace {

struct FakeSide {
  QList<CrashEvent> sent() const { return reporter.events; }
  FakeCrashReporter reporter;
};

struct LocalSide {
  QList<CrashEvent> sent() const { return reporter.events(); }
  QTemporaryDir home;
  SystemClock clock;
  LocalCrashReporter reporter{{.folder = home.path()}, clock, Logging()};
};

template <typename Side>
class CrashReporterContract : public testing::Test, public Side {};
using Sides = testing::Types<FakeSide, LocalSide>;
TYPED_TEST_SUITE(CrashReporterContract, Sides, SideNames);

TYPED_TEST(CrashReporterContract, EventsGetWhatTheReporterKnowsAndTheFilterHasTheLastWord) {
  CrashReporter& reporter = this->reporter;
  reporter.addBreadcrumb({"before the start", "a", ReportLevel::info, {}});
  reporter.capture({});
  EXPECT_FALSE(reporter.isStarted());

  CrashReporterOptions options;
  options.tags = {{"environment", "production"}, {"stage", "general"}};
  options.beforeSend = [](CrashEvent event) {
    EXPECT_EQ(event.tags, (QMap<QString, QString>{{"environment", "production"}, {"stage", "own"}}));
    EXPECT_EQ(event.breadcrumbs.value(0).message, "crumb");
    event.breadcrumbs.clear();
    return event;
  };
  reporter.start(options);
  EXPECT_TRUE(reporter.isStarted());
  EXPECT_TRUE(this->sent().isEmpty());
  reporter.addBreadcrumb({"crumb", "a", ReportLevel::info, {}});
  CrashEvent event;
  event.message = "broken";
  event.tags = {{"stage", "own"}};
  reporter.capture(event);
  ASSERT_EQ(this->sent().size(), 1);
  EXPECT_EQ(this->sent().first().message, "broken");
  EXPECT_TRUE(this->sent().first().breadcrumbs.isEmpty());
}

}  // namespace
}  // namespace quillmere
