#pragma once
#include <QList>
#include <optional>

#include "ports/CrashReporter.h"

namespace quillmere {

// Keeps what would be sent; for one thread.
class FakeCrashReporter final : public CrashReporter {
 public:
  void start(const CrashReporterOptions& options) override {
    startedWith = options;
    ++starts;
  }
  bool isStarted() const override { return startedWith.has_value(); }
  void addBreadcrumb(const Breadcrumb& breadcrumb) override {
    if (startedWith) breadcrumbs += breadcrumb;
  }
  void capture(const CrashEvent& event) override {
    if (!startedWith) return;
    CrashEvent whole = event;
    whole.breadcrumbs = breadcrumbs;
    whole.tags = startedWith->tags;
    whole.tags.insert(event.tags);
    events += startedWith->beforeSend ? startedWith->beforeSend(std::move(whole)) : whole;
  }

  std::optional<CrashReporterOptions> startedWith;
  int starts = 0;
  QList<Breadcrumb> breadcrumbs;
  QList<CrashEvent> events;
};

}  // namespace quillmere
