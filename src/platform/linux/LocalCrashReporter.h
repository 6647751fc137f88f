#pragma once
#include <QList>
#include <QString>
#include <memory>
#include <mutex>
#include <optional>

#include "base/Clock.h"
#include "base/log/Logger.h"
#include "ports/CrashReporter.h"

namespace quillmere {

class SharedRotatingFileSink;

// A crash reporter that sends nothing: the last breadcrumbs and events stay in memory, and events are written with the
// filter of the options applied, as JSON lines beside the log and as one line of the log. Thread-safe.
class LocalCrashReporter final : public CrashReporter {
 public:
  struct Options {
    QString folder;  // gets reports.log and its older files
    int maxBreadcrumbs = 100;
    int maxEvents = 50;
  };

  LocalCrashReporter(Options options, const Clock& clock, const Logging& logging);
  ~LocalCrashReporter() override;

  void start(const CrashReporterOptions& options) override;
  bool isStarted() const override;
  void addBreadcrumb(const Breadcrumb& breadcrumb) override;
  void capture(const CrashEvent& event) override;

  QList<Breadcrumb> breadcrumbs() const;
  QList<CrashEvent> events() const;

 private:
  Options options_;
  const Clock& clock_;
  Logger log_;
  std::shared_ptr<SharedRotatingFileSink> file_;
  mutable std::mutex mutex_;
  std::optional<CrashReporterOptions> started_;
  QList<Breadcrumb> breadcrumbs_;
  QList<CrashEvent> events_;
};

}  // namespace quillmere
