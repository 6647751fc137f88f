#pragma once
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <optional>

#include "domain/Errors.h"
#include "ports/CrashReporter.h"

namespace quillmere {

struct ReportOptions {
  std::optional<QString> message;
  QMap<QString, QString> tags;
  QVariantMap extra;
  std::optional<QStringList> fingerprint;
  bool attachRecentLogs = true;
  ReportLevel level = ReportLevel::error;
  std::optional<double> sampleRate;  // no value: every time
};

// What services report through. Implemented by AppLogger. Thread-safe.
class ErrorReporting {
 public:
  virtual ~ErrorReporting() = default;
  // The user's setting "enableErrorLogging", read afresh. Callers test it before reporting.
  virtual bool isEnabled() const = 0;
  virtual void captureError(const AnyError& error, const ReportOptions& options) = 0;
  virtual void addBreadcrumb(const Breadcrumb& breadcrumb) = 0;
  // A message without an error behind it.
  virtual void captureMessage(const QString& message, const QString& category, ReportLevel level,
                              const QVariantMap& data) = 0;
};

}  // namespace quillmere
