#pragma once
#include <QString>
#include <optional>

namespace quillmere {

// What this build and this machine are, as diagnostics names them.
struct DeploymentValues {
  std::optional<QString> crashReportDsn;          // without one (or with an empty one) nothing is ever reported
  std::optional<QString> crashReportEnvironment;  // "production" when missing or empty
  std::optional<QString> version;
  std::optional<QString> build;
  QString systemVersion;
  QString architecture;
  int processorCount = 1;
};

}  // namespace quillmere
