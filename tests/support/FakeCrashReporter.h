#pragma once
#include <QList>
#include <optional>

#include "ports/CrashReporter.h"

namespace quillmere {

// Keeps what it is given; for one thread.
class FakeCrashReporter final : public CrashReporter {
 public:
  void start(const CrashReporterOptions& options) override {
    startedWith = options;
    ++starts;
  }
  bool isStarted() const override { return startedWith.has_value(); }
  void addBreadcrumb(const Breadcrumb& breadcrumb) override { breadcrumbs += breadcrumb; }
  void capture(const CrashEvent& event) override {
    if (isStarted()) events += event;
  }

  std::optional<CrashReporterOptions> startedWith;
  int starts = 0;
  QList<Breadcrumb> breadcrumbs;
  QList<CrashEvent> events;
};

}  // namespace quillmere
