#pragma once
#include <QTemporaryDir>

#include "storage/PersistenceController.h"
#include "support/FakeErrorReporting.h"
#include "support/Files.h"
#include "support/RecordingLogSink.h"

namespace quillmere {

inline QDateTime utc(const QString& text) {
  return QDateTime::fromString(text + "Z", Qt::ISODateWithMs);
}

// A folder with one store in it, a clock, and what the store logs and reports.
class StoreFixture : public testing::Test {
 public:
  QTemporaryDir folder;
  QString path = folder.filePath("Quillmere.sqlite");
  FixedClock clock{utc("2026-03-10T12:00:00.000")};
  std::shared_ptr<RecordingLogSink> lines = std::make_shared<RecordingLogSink>();
  FakeErrorReporting reporting;
  QTimeZone calendar = QTimeZone::utc();

  std::unique_ptr<PersistenceController> openStoreHere(Executor* executor = nullptr) {
    auto opened = PersistenceController::open(path, clock, Logging(lines), &reporting, calendar, {executor, {}});
    EXPECT_TRUE(opened) << (opened ? "" : opened.error().description.toStdString());
    return opened ? std::move(opened).value() : nullptr;
  }
  PlatformError openError() {
    auto opened = PersistenceController::open(path, clock, Logging(lines), &reporting, calendar);
    EXPECT_FALSE(opened);
    return opened ? PlatformError{} : opened.error();
  }
  QByteArray bytes() const { return readFile(path); }
  QStringList reportTexts() const {
    QStringList texts;
    for (const auto& report : reporting.reports) texts << report.options.message.value_or(QString());
    return texts;
  }
  static ModeData modeData(const QString& name) {
    ModeData data;
    data.name = name;
    data.preset = "custom";
    data.language = "en";
    data.model = "base";
    return data;
  }
  static QStringList names(const std::vector<ModePtr>& modes) {
    QStringList result;
    for (const ModePtr& mode : modes) result << mode->name.value_or("?");
    return result;
  }
};

}  // namespace quillmere
