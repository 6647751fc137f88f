#pragma once
#include <vector>

#include "ports/ErrorReporting.h"

namespace quillmere {

// Keeps what is reported. Main thread.
class FakeErrorReporting final : public ErrorReporting {
 public:
  struct Report {
    AnyError error;
    ReportOptions options;
  };
  struct Message {
    QString text;
    QString category;
    ReportLevel level;
    QVariantMap data;
  };
  bool isOn = true;
  std::vector<Report> reports;
  std::vector<Breadcrumb> breadcrumbs;
  std::vector<Message> messages;

  bool isEnabled() const override { return isOn; }
  void captureError(const AnyError& error, const ReportOptions& options) override {
    reports.push_back({error, options});
  }
  void addBreadcrumb(const Breadcrumb& breadcrumb) override { breadcrumbs.push_back(breadcrumb); }
  void captureMessage(const QString& message, const QString& category, ReportLevel level,
                      const QVariantMap& data) override {
    messages.push_back({message, category, level, data});
  }
};

}  // namespace quillmere
