#pragma once
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>
#include <functional>
#include <optional>

namespace quillmere {

// Numbers as crash reports carry them.
enum class ReportLevel { info = 2, warning = 3, error = 4 };

struct Breadcrumb {
  QString message;
  QString category;
  ReportLevel level = ReportLevel::info;
  QVariantMap data;
};

struct CrashEvent {
  QString message;
  QString errorType;
  QString errorDomain;
  int errorCode = 0;
  QString errorDescription;
  ReportLevel level = ReportLevel::error;
  QMap<QString, QString> tags;
  QVariantMap extra;
  QStringList fingerprint;
  QList<Breadcrumb> breadcrumbs;  // filled in by the reporter
};

struct CrashReporterOptions {
  QString dsn;
  QString environment;
  QString release;
  double tracesSampleRate = 1.0;
  double profilesSampleRate = 1.0;
  bool enableAutoSessionTracking = true;
  int sessionTrackingIntervalMs = 30000;
  bool enableAppHangTracking = true;
  double appHangTimeoutSeconds = 10.0;
  bool sendDefaultPersonalData = true;
  QMap<QString, QString> tags;                       // set on every event that lacks the key
  std::function<CrashEvent(CrashEvent)> beforeSend;  // the last word on an event; any thread
};

// The crash reporter behind the diagnostics layer. Methods may be called from any thread. Before start() a report goes
// nowhere. The caller tests the user's setting first; this port never does.
class CrashReporter {
 public:
  virtual ~CrashReporter() = default;
  virtual void start(const CrashReporterOptions& options) = 0;
  virtual bool isStarted() const = 0;
  virtual void addBreadcrumb(const Breadcrumb& breadcrumb) = 0;
  virtual void capture(const CrashEvent& event) = 0;
};

}  // namespace quillmere
